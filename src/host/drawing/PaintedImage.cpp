#include "host/drawing/PaintedImage.h"

#include <QPaintEngine>

namespace rewindle {

std::optional<QImage> paintedImage(const QPainter& painter, const QRect& area) {
    auto* const device = painter.paintEngine()->paintDevice(); // a window's, when a widget is painted
    if (!device || device->devType() != QInternal::Image) return std::nullopt;
    auto& image = static_cast<QImage&>(*device);
    const auto format = image.format();
    const bool isUsable = format == QImage::Format_RGB32 || format == QImage::Format_ARGB32_Premultiplied;
    if (!isUsable || !image.isDetached() || !image.rect().contains(area)) return std::nullopt;
    auto* const first = image.scanLine(area.y()) + static_cast<std::ptrdiff_t>(area.x()) * 4;
    return QImage(first, area.width(), area.height(), image.bytesPerLine(), QImage::Format_ARGB32_Premultiplied);
}

} // namespace rewindle
