#include "ui/components/NightfallPaint.h"

#include <QPen>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace rewindle {

QRectF NightfallPaint::snapped(const QPainter& painter, const QRectF& rect) {
    const QTransform toDevice = painter.deviceTransform(); // only moves and scales here
    const QRectF device = toDevice.mapRect(rect);
    const QRectF whole(QPointF(std::round(device.left()), std::round(device.top())),
                       QPointF(std::round(device.right()), std::round(device.bottom())));
    return toDevice.inverted().mapRect(whole);
}

qreal NightfallPaint::hairline(const QPainter& painter) {
    const qreal scale = painter.deviceTransform().m11();
    return scale > 0 ? std::max(1.0, std::floor(scale)) / scale : 1.0;
}

void NightfallPaint::fillRounded(QPainter& painter, const QRectF& rect, qreal radius, const QBrush& fill) {
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    painter.drawRoundedRect(snapped(painter, rect), radius, radius);
}

void NightfallPaint::strokeRounded(QPainter& painter, const QRectF& rect, qreal radius, const QColor& color,
                                   qreal width) {
    const qreal inset = width / 2;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(color, width));
    painter.setBrush(Qt::NoBrush);
    painter.drawRoundedRect(snapped(painter, rect).adjusted(inset, inset, -inset, -inset), radius - inset,
                            radius - inset);
}

void NightfallPaint::focusRing(QPainter& painter, const QRectF& rect, qreal radius, const QColor& color) {
    constexpr qreal kWidth = 2, kGap = 1;
    const qreal outset = kWidth + kGap;
    strokeRounded(painter, rect.adjusted(-outset, -outset, outset, outset), radius + outset, color, kWidth);
}

} // namespace rewindle
