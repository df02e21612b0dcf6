#pragma once

#include <QPainter>
#include <QRectF>

namespace rewindle {

/// Drawing that stays sharp at every scale of the screen.
namespace NightfallPaint {

/// The rectangle with its edges moved to the nearest edges of the screen's pixels.
[[nodiscard]] QRectF snapped(const QPainter& painter, const QRectF& rect);
/// A whole number of the screen's pixels, about one point; in points.
[[nodiscard]] qreal hairline(const QPainter& painter);

void fillRounded(QPainter& painter, const QRectF& rect, qreal radius, const QBrush& fill);
/// The line lies within `rect`.
void strokeRounded(QPainter& painter, const QRectF& rect, qreal radius, const QColor& color, qreal width);
/// Around a control that fills `rect`, just outside of it.
void focusRing(QPainter& painter, const QRectF& rect, qreal radius, const QColor& color);

} // namespace NightfallPaint

} // namespace rewindle
