#include "ui/components/NightfallToggle.h"

#include "ui/components/NightfallPaint.h"

#include <QKeyEvent>
#include <QStyle>

namespace rewindle {
namespace {

using Metrics = NightfallMetrics;
constexpr int kWidth = 40, kHeight = 22, kKnobInset = 3, kSlideMs = 120;

} // namespace

NightfallToggle::NightfallToggle(const NightfallTheme& theme, QWidget* parent)
    : QCheckBox(parent), theme_(theme), focus_(*this) {
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    knob_.setStartValue(0.0);
    knob_.setEndValue(0.0);
    connect(&knob_, &QVariantAnimation::valueChanged, this, [this] { update(); });
    connect(this, &QCheckBox::toggled, this, [this](bool on) { moveKnob(on); });
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

QSize NightfallToggle::sizeHint() const {
    return {kWidth + 2 * Metrics::ringMargin, kHeight + 2 * Metrics::ringMargin};
}

void NightfallToggle::moveKnob(bool on) {
    const bool isAnimated =
        isVisible() && style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0;
    knob_.stop();
    knob_.setStartValue(isAnimated ? knob_.currentValue() : QVariant(on ? 1.0 : 0.0));
    knob_.setEndValue(on ? 1.0 : 0.0);
    knob_.setDuration(isAnimated ? kSlideMs : 0);
    knob_.start();
}

void NightfallToggle::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const auto& palette = theme_.palette();
    const QRectF track(Metrics::ringMargin, (height() - kHeight) / 2.0, kWidth, kHeight);
    const qreal on = knob_.currentValue().toReal();
    const QColor fill = isChecked() ? (underMouse() ? palette.accentHover : palette.accent)
                                    : (underMouse() ? palette.controlHover : palette.control);
    NightfallPaint::fillRounded(painter, track, kHeight / 2.0, fill);
    if (!isChecked()) {
        NightfallPaint::strokeRounded(painter, track, kHeight / 2.0, palette.outline,
                                      NightfallPaint::hairline(painter));
    }
    const qreal diameter = kHeight - 2 * kKnobInset;
    const QRectF knob(track.left() + kKnobInset + on * (kWidth - kHeight), track.top() + kKnobInset, diameter,
                      diameter);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isChecked() ? palette.onAccent : palette.textSecondary);
    painter.drawEllipse(knob);
    if (focus_.isVisible()) NightfallPaint::focusRing(painter, track, kHeight / 2.0, palette.focusRing);
}

void NightfallToggle::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        if (!event->isAutoRepeat()) click();
        return;
    }
    QCheckBox::keyPressEvent(event);
}

} // namespace rewindle
