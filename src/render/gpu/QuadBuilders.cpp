#include "render/gpu/QuadBuilders.h"

namespace rewindle {
namespace {

/// A corner of a rectangle, as a fraction of its width and height.
struct Corner {
    float x;
    float y;
};
constexpr std::array<Corner, 6> kCorners{{{0, 0}, {1, 0}, {0, 1}, {1, 0}, {1, 1}, {0, 1}}};

std::array<float, 2> positionOf(Corner corner, const Rect& rect, Size viewport) {
    return pointsToNDC({rect.x + (corner.x > 0 ? rect.width : 0), rect.y + (corner.y > 0 ? rect.height : 0)},
                       viewport);
}

} // namespace

std::array<float, 2> pointsToNDC(Point point, Size viewport) {
    const double width = viewport.width <= 1 ? 1 : viewport.width;
    const double height = viewport.height <= 1 ? 1 : viewport.height;
    return {static_cast<float>(point.x / width * 2 - 1), static_cast<float>(1 - point.y / height * 2)};
}

void appendColoredQuad(std::vector<ColoredVertex>& vertices, const Rect& rect, const PremultipliedColor& color,
                       Size viewport) {
    for (const Corner corner : kCorners)
        vertices.push_back({.position = positionOf(corner, rect, viewport), .color = color});
}

void appendTexturedQuad(std::vector<TexVertex>& vertices, const Rect& rect, Size viewport) {
    for (const Corner corner : kCorners)
        vertices.push_back({.position = positionOf(corner, rect, viewport), .uv = {corner.x, corner.y}});
}

void appendRampQuad(std::vector<RampVertex>& vertices, const Rect& rect, double fillWidth, double fullWidth,
                    Size viewport) {
    const float right = fullWidth > 0 ? static_cast<float>(fillWidth / fullWidth) : 0.0F;
    for (const Corner corner : kCorners)
        vertices.push_back({.position = positionOf(corner, rect, viewport), .t = corner.x * right});
}

} // namespace rewindle
