#pragma once

#include <array>
#include <cstddef>

namespace rewindle {

// Vertices as the shaders read them; positions in normalised device coordinates.

struct ColoredVertex {
    std::array<float, 2> position;
    alignas(16) std::array<float, 4> color; // premultiplied
};
static_assert(sizeof(ColoredVertex) == 32 && offsetof(ColoredVertex, color) == 16);

struct RampVertex {
    std::array<float, 2> position;
    float t; // 0 ... 1 along the full bar
    float padding = 0;
};
static_assert(sizeof(RampVertex) == 16 && offsetof(RampVertex, t) == 8);

struct TexVertex {
    std::array<float, 2> position;
    std::array<float, 2> uv;
};
static_assert(sizeof(TexVertex) == 16 && offsetof(TexVertex, uv) == 8);

} // namespace rewindle
