#include "host/windows/ProgramIcon.h"

#include "host/control/DbusStatus.h"

#include <QIconEngine>
#include <QLinearGradient>
#include <QPainter>
#include <QPainterPath>
#include <QStandardPaths>

namespace rewindle {
namespace {

constexpr qreal kGrid = 16; // units a side in which the drawings are given, here and in packaging/icons
const QColor kGround(0x0E, 0x0B, 0x16);
const QColor kTop(0xFF, 0x4D, 0x94);
const QColor kBottom(0xC4, 0x7D, 0xFF);
const QColor kEitherGround(0x8B, 0x8B, 0x95); // contrast 3.3 to white, 5.6 to a dark bar

/// Two arrow heads back, and the waveform they go back in.
QPainterPath drawing() {
    QPainterPath path;
    for (const qreal tip : {1.0, 4.0}) {
        path.addPolygon(QPolygonF({{tip, 8}, {tip + 3, 5}, {tip + 3, 11}}));
        path.closeSubpath();
    }
    const struct {
        qreal left;
        qreal height;
    } bars[] = {{8, 5}, {10, 12}, {12, 8}, {14, 4}};
    for (const auto& bar : bars)
        path.addRoundedRect(QRectF(bar.left, (kGrid - bar.height) / 2, 1.25, bar.height), 0.6, 0.6);
    return path;
}

QSize square(int side) {
    return {side, side};
}

/// Draws the icon at any size.
class IconPainter : public QIconEngine {
public:
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap image(size);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return image;
    }

protected:
    static void prepare(QPainter& painter, const QRect& rect) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.translate(rect.topLeft());
        painter.scale(rect.width() / kGrid, rect.height() / kGrid);
    }
};

class ProgramIconPainter final : public IconPainter {
public:
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        painter->save();
        prepare(*painter, rect);
        painter->setBrush(kGround);
        painter->drawRoundedRect(QRectF(0.5, 0.5, 15, 15), 3.5, 3.5);
        QLinearGradient colours(0, 3, 0, 13);
        colours.setColorAt(0, kTop);
        colours.setColorAt(1, kBottom);
        painter->setBrush(colours);
        painter->translate(kGrid / 2, kGrid / 2);
        painter->scale(0.75, 0.75); // room for the ground
        painter->translate(-kGrid / 2, -kGrid / 2);
        painter->drawPath(drawing());
        painter->restore();
    }
    [[nodiscard]] QIconEngine* clone() const override { return new ProgramIconPainter(*this); }
    /// No more than needed: all of them are painted before the first frame.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {square(16), square(32), square(48), square(64), square(128)};
    }
};

class StatusIconPainter final : public IconPainter {
public:
    void paint(QPainter* painter, const QRect& rect, QIcon::Mode, QIcon::State) override {
        painter->save();
        prepare(*painter, rect);
        painter->setBrush(kEitherGround);
        painter->drawPath(drawing());
        painter->restore();
    }
    [[nodiscard]] QIconEngine* clone() const override { return new StatusIconPainter(*this); }
    /// 18 points at the scales 1, 1.25, 1.5 and 2, and what bars use besides.
    QList<QSize> availableSizes(QIcon::Mode, QIcon::State) override {
        return {square(16), square(18), square(22), square(24), square(27), square(32), square(36)};
    }
    QString iconName() override {
        const auto name = QLatin1String(kControlBusName) + QStringLiteral("-symbolic");
        const auto file = QStringLiteral("icons/hicolor/symbolic/apps/") + name + QStringLiteral(".svg");
        return QStandardPaths::locate(QStandardPaths::GenericDataLocation, file).isEmpty() ? QString() : name;
    }
};

} // namespace

QIcon programIcon() {
    return QIcon(new ProgramIconPainter);
}

QIcon statusIcon() {
    return QIcon(new StatusIconPainter);
}

} // namespace rewindle
