#pragma once

#include "base/Geometry.h"
#include "render/gpu/PremultipliedColor.h"
#include "render/gpu/VertexLayouts.h"

#include <array>
#include <vector>

namespace rewindle {

/// Normalised device coordinates of a point; a dimension of the viewport of 1 or less counts as 1. y is turned over
/// here, in the shaders for the envelope, and nowhere else.
[[nodiscard]] std::array<float, 2> pointsToNDC(Point point, Size viewport);

// Each appends a rectangle as two triangles: top left, top right, bottom left; top right, bottom right, bottom left.

void appendColoredQuad(std::vector<ColoredVertex>& vertices, const Rect& rect, const PremultipliedColor& color,
                       Size viewport);
/// The whole texture over the rectangle.
void appendTexturedQuad(std::vector<TexVertex>& vertices, const Rect& rect, Size viewport);
/// The ramp's first `fillWidth` of `fullWidth` over the rectangle; nothing but its start if `fullWidth` is not positive.
void appendRampQuad(std::vector<RampVertex>& vertices, const Rect& rect, double fillWidth, double fullWidth,
                    Size viewport);

} // namespace rewindle
