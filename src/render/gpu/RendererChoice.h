#pragma once

#include "render/gpu/GpuProbe.h"

#include <cstdint>
#include <functional>

namespace rewindle {

/// What the user wants to be drawn with.
enum class RendererChoice : std::uint8_t {
    automatic, // the GPU if it is one in hardware
    gpu,       // the GPU, be it software
    twoDimensional
};

/// `environmentValue` is the value of REWINDLE_RENDERER, or null: "cg", "coregraphics" and "core-graphics" in any case
/// mean two-dimensional, all else the GPU.
[[nodiscard]] RendererChoice rendererChoice(const char* environmentValue);

/// Whether views draw through the render core. `probe` is asked only when its answer matters; without
/// `platformShowsGpu` there must be no GPU view at all.
[[nodiscard]] bool drawsWithGpu(RendererChoice choice, bool platformShowsGpu,
                                const std::function<GpuProbeAnswer()>& probe);

} // namespace rewindle
