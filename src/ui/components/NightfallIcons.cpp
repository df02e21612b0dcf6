#include "ui/components/NightfallIcons.h"

#include <QPainterPath>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace rewindle {
namespace {

/// A wheel with eight teeth and a hole, about the origin.
QPainterPath gearPath() {
    constexpr int kTeeth = 8;
    constexpr double kOuter = 8.4, kInner = 6.3, kHole = 2.7, kToothHalf = 0.19, kFootHalf = 0.27;
    const double step = 2 * std::numbers::pi / kTeeth;
    const auto at = [](double radius, double angle) {
        return QPointF(radius * std::sin(angle), -radius * std::cos(angle));
    };
    QPainterPath path;
    for (int tooth = 0; tooth < kTeeth; ++tooth) {
        const double angle = tooth * step;
        const std::array corners{at(kInner, angle - kFootHalf), at(kOuter, angle - kToothHalf),
                                 at(kOuter, angle + kToothHalf), at(kInner, angle + kFootHalf)};
        if (tooth == 0) path.moveTo(corners[0]);
        for (const auto& corner : corners)
            path.lineTo(corner);
    }
    path.closeSubpath();
    path.addEllipse(QPointF(0, 0), kHole, kHole);
    return path;
}

QPainterPath savePath() {
    QPainterPath path;
    path.moveTo(0, -7);
    path.lineTo(0, 3);
    path.moveTo(-4, -0.8);
    path.lineTo(0, 3.2);
    path.lineTo(4, -0.8);
    path.moveTo(-7, 3);
    path.lineTo(-7, 7);
    path.lineTo(7, 7);
    path.lineTo(7, 3);
    return path;
}

QPainterPath warningPath() {
    QPainterPath path;
    path.moveTo(0, -7);
    path.lineTo(8, 7);
    path.lineTo(-8, 7);
    path.closeSubpath();
    path.moveTo(0, -2);
    path.lineTo(0, 2.2);
    path.moveTo(0, 4.6);
    path.lineTo(0, 4.7);
    return path;
}

QPainterPath folderPath() {
    QPainterPath path;
    path.moveTo(-8, -5.5);
    path.lineTo(-2.5, -5.5);
    path.lineTo(-0.5, -3);
    path.lineTo(8, -3);
    path.lineTo(8, 6.5);
    path.lineTo(-8, 6.5);
    path.closeSubpath();
    return path;
}

QPainterPath pausePath() {
    QPainterPath path;
    for (const double x : {-3.2, 3.2}) {
        path.moveTo(x, -5.5);
        path.lineTo(x, 5.5);
    }
    return path;
}

/// On to the end.
QPainterPath livePath() {
    QPainterPath path;
    path.moveTo(-5.5, -6);
    path.lineTo(3, 0);
    path.lineTo(-5.5, 6);
    path.closeSubpath();
    path.moveTo(6, -6);
    path.lineTo(6, 6);
    return path;
}

QPainterPath glyphPath(NightfallGlyph glyph) {
    switch (glyph) {
    case NightfallGlyph::none: break;
    case NightfallGlyph::gear: return gearPath();
    case NightfallGlyph::save: return savePath();
    case NightfallGlyph::warning: return warningPath();
    case NightfallGlyph::folder: return folderPath();
    case NightfallGlyph::pause: return pausePath();
    case NightfallGlyph::live: return livePath();
    }
    return {};
}

} // namespace

void paintGlyph(QPainter& painter, NightfallGlyph glyph, const QRectF& square, const QColor& color) {
    constexpr double kDrawnSize = 20, kLine = 1.6;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(square.center());
    painter.scale(square.width() / kDrawnSize, square.height() / kDrawnSize);
    painter.setPen(QPen(color, kLine, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    painter.setBrush(Qt::NoBrush);
    painter.drawPath(glyphPath(glyph));
    painter.restore();
}

void paintWaveformBars(QPainter& painter, const QRectF& rect, const QBrush& fill, int first, int count) {
    constexpr std::array kHeights{0.24, 0.52, 0.36, 0.78, 1.0, 0.62, 0.84, 0.44, 0.66, 0.3, 0.5, 0.9, 0.7, 0.4, 0.2};
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(fill);
    const double pitch = rect.width() / (count - 0.42);
    const double width = pitch * 0.58;
    for (int bar = 0; bar < count; ++bar) {
        const double share = kHeights[static_cast<std::size_t>(first + bar) % kHeights.size()];
        const double height = std::max(width, rect.height() * share);
        const QRectF shape(rect.left() + bar * pitch, rect.center().y() - height / 2, width, height);
        painter.drawRoundedRect(shape, width / 2, width / 2);
    }
}

} // namespace rewindle
