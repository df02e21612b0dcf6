#include "ui/components/Illustration.h"

#include "ui/components/NightfallIcons.h"
#include "ui/components/NightfallPaint.h"

#include <QLinearGradient>
#include <QPainterPath>

namespace rewindle {
namespace {

/// What a picture is drawn with; its square is 76 points wide.
struct Drawing {
    QPainter& painter;
    QRectF square;
    QBrush glow;  // the waveform's gradient
    QColor line;  // outlines
    QColor faint; // what is of less weight
    QColor paper; // what the picture lies on

    void outline(const QPainterPath& path, const QBrush& brush, qreal width = 2.2) const {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(brush, width, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
        painter.drawPath(path);
    }
};

/// A waveform with an arrow that turns back around it.
void drawRewind(const Drawing& drawing) {
    const QRectF circle = drawing.square.adjusted(12, 12, -12, -12);
    QPainterPath arc;
    arc.arcMoveTo(circle, 150);
    arc.arcTo(circle, 150, -300);
    drawing.outline(arc, drawing.line);
    const QPointF tip = arc.elementAt(0);
    QPainterPath head;
    head.moveTo(tip + QPointF(-1.5, -9));
    head.lineTo(tip);
    head.lineTo(tip + QPointF(9, -2));
    drawing.outline(head, drawing.line);
    paintWaveformBars(drawing.painter, circle.adjusted(11, 13, -11, -13), drawing.glow, 2, 5);
}

/// A chip that holds a waveform.
void drawMemory(const Drawing& drawing) {
    const QRectF chip = drawing.square.adjusted(19, 19, -19, -19);
    QPainterPath pins;
    for (const qreal offset : {-10.0, 0.0, 10.0}) {
        const QPointF center = chip.center();
        pins.moveTo(center.x() + offset, chip.top() - 6);
        pins.lineTo(center.x() + offset, chip.top());
        pins.moveTo(center.x() + offset, chip.bottom());
        pins.lineTo(center.x() + offset, chip.bottom() + 6);
        pins.moveTo(chip.left() - 6, center.y() + offset);
        pins.lineTo(chip.left(), center.y() + offset);
        pins.moveTo(chip.right(), center.y() + offset);
        pins.lineTo(chip.right() + 6, center.y() + offset);
    }
    drawing.outline(pins, drawing.faint);
    QPainterPath body;
    body.addRoundedRect(chip, 7, 7);
    drawing.outline(body, drawing.line);
    paintWaveformBars(drawing.painter, chip.adjusted(8, 8, -8, -8), drawing.glow, 2, 5);
}

/// A piece of a waveform that goes down into a tray.
void drawSave(const Drawing& drawing) {
    const QRectF wave(drawing.square.left() + 13, drawing.square.top() + 11, drawing.square.width() - 26, 26);
    paintWaveformBars(drawing.painter, wave, drawing.faint, 0, 11);
    drawing.painter.save();
    drawing.painter.setClipRect(wave.adjusted(13, -2, -13, 2));
    drawing.painter.fillRect(wave, drawing.paper);
    paintWaveformBars(drawing.painter, wave, drawing.glow, 0, 11);
    drawing.painter.restore();
    const QPointF foot(drawing.square.center().x(), drawing.square.bottom() - 20);
    QPainterPath arrow;
    arrow.moveTo(foot - QPointF(0, 13));
    arrow.lineTo(foot);
    arrow.moveTo(foot - QPointF(6, 6));
    arrow.lineTo(foot);
    arrow.lineTo(foot - QPointF(-6, 6));
    drawing.outline(arrow, drawing.line);
    QPainterPath tray;
    tray.moveTo(foot + QPointF(-18, -2));
    tray.lineTo(foot + QPointF(-18, 7));
    tray.lineTo(foot + QPointF(18, 7));
    tray.lineTo(foot + QPointF(18, -2));
    drawing.outline(tray, drawing.line);
}

/// A loudspeaker whose sound is a waveform.
void drawAccess(const Drawing& drawing) {
    const QPointF center = drawing.square.center() - QPointF(14, 0);
    QPainterPath speaker;
    speaker.moveTo(center + QPointF(-11, -6));
    speaker.lineTo(center + QPointF(-5, -6));
    speaker.lineTo(center + QPointF(4, -13));
    speaker.lineTo(center + QPointF(4, 13));
    speaker.lineTo(center + QPointF(-5, 6));
    speaker.lineTo(center + QPointF(-11, 6));
    speaker.closeSubpath();
    drawing.outline(speaker, drawing.line);
    paintWaveformBars(drawing.painter, QRectF(center.x() + 12, center.y() - 15, 27, 30), drawing.glow, 2, 5);
}

} // namespace

Illustration::Illustration(const NightfallTheme& theme, Subject subject, QWidget* parent)
    : QWidget(parent), theme_(theme), subject_(subject) {
    setFixedSize(kSize, kSize);
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

void Illustration::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const auto& palette = theme_.palette();
    const QRectF square = rect();
    NightfallPaint::fillRounded(painter, square, 18, palette.control);
    QLinearGradient glow(0, 14, 0, kSize - 14);
    glow.setColorAt(0, toQColor(theme_.waveform().waveformTop));
    glow.setColorAt(1, toQColor(theme_.waveform().waveformBottom));
    const Drawing drawing{painter, square, glow, palette.text, palette.outline, palette.control};
    switch (subject_) {
    case Subject::rewind: return drawRewind(drawing);
    case Subject::memory: return drawMemory(drawing);
    case Subject::save: return drawSave(drawing);
    case Subject::access: return drawAccess(drawing);
    }
}

} // namespace rewindle
