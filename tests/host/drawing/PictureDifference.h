#pragma once

#include <QImage>
#include <QPainter>

#include <algorithm>
#include <array>
#include <cstdlib>

namespace rewindle::test {

/// Covers the edge of a selection, which lies half a point farther inside on the GPU than in two dimensions. Units: points.
inline void hideEdge(QImage& picture, const QRectF& selection, double scale) {
    QPainter painter(&picture);
    painter.scale(scale, scale);
    painter.setPen(QPen(Qt::black, 5, Qt::SolidLine, Qt::SquareCap, Qt::MiterJoin));
    painter.drawRect(selection);
}

/// Of the channel in which it is largest: how far the pictures are from each other in these pixels, of 255. Requires:
/// two pictures of one size.
inline double meanDifference(const QImage& a, const QImage& b, const QRect& within) {
    const QRect pixels = within.intersected(a.rect());
    std::array<double, 3> sums{};
    for (int y = pixels.top(); y <= pixels.bottom(); ++y) {
        for (int x = pixels.left(); x <= pixels.right(); ++x) {
            const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
            sums[0] += std::abs(qRed(p) - qRed(q));
            sums[1] += std::abs(qGreen(p) - qGreen(q));
            sums[2] += std::abs(qBlue(p) - qBlue(q));
        }
    }
    return *std::ranges::max_element(sums) / std::max(pixels.width() * pixels.height(), 1);
}

} // namespace rewindle::test
