#pragma once

#include <QImage>
#include <QPainter>
#include <QRect>

#include <optional>

namespace rewindle {

/// The pixels that a painter paints on, to be drawn into directly: this saves a copy.
/// The image refers to them, in the format ARGB32_Premultiplied, and is valid as long as the painter is active. Nothing
/// where there are no such pixels in memory, or not all of `area`, which is in pixels of the painter's device. What is
/// drawn there must be opaque.
[[nodiscard]] std::optional<QImage> paintedImage(const QPainter& painter, const QRect& area);

} // namespace rewindle
