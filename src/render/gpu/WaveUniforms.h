#pragma once

#include "render/gpu/PremultipliedColor.h"
#include "render/gpu/WaveformFrame.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace rewindle {

/// What the shaders of the envelope are told about a frame. Lengths in points. The layout is the shaders' own: each
/// colour begins at a multiple of 16 bytes.
struct WaveUniforms {
    std::array<float, 2> viewportSize;
    float columnStride;
    float fractionPoints; // in strides
    float midY;
    float amplitudeScale;
    std::uint32_t columnCount;
    std::uint32_t useGradient; // 0 flat, 1 along the axis
    std::array<float, 2> gradStart;
    std::array<float, 2> gradEnd;
    alignas(16) PremultipliedColor gradColor0;
    alignas(16) PremultipliedColor gradColor1;
    alignas(16) PremultipliedColor flatColor;
};
static_assert(sizeof(WaveUniforms) == 96);
static_assert(offsetof(WaveUniforms, columnStride) == 8 && offsetof(WaveUniforms, fractionPoints) == 12);
static_assert(offsetof(WaveUniforms, midY) == 16 && offsetof(WaveUniforms, amplitudeScale) == 20);
static_assert(offsetof(WaveUniforms, columnCount) == 24 && offsetof(WaveUniforms, useGradient) == 28);
static_assert(offsetof(WaveUniforms, gradStart) == 32 && offsetof(WaveUniforms, gradEnd) == 40);
static_assert(offsetof(WaveUniforms, gradColor0) == 48 && offsetof(WaveUniforms, gradColor1) == 64);
static_assert(offsetof(WaveUniforms, flatColor) == 80);

[[nodiscard]] WaveUniforms waveUniforms(const WaveformFrame& frame);

} // namespace rewindle
