#include "render/gpu/RendererChoice.h"

#include <algorithm>
#include <string>

namespace rewindle {
namespace {

char toLower(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

} // namespace

RendererChoice rendererChoice(const char* environmentValue) {
    if (!environmentValue) return RendererChoice::automatic;
    std::string value = environmentValue;
    std::ranges::transform(value, value.begin(), toLower);
    const bool twoDimensional = value == "cg" || value == "coregraphics" || value == "core-graphics";
    return twoDimensional ? RendererChoice::twoDimensional : RendererChoice::gpu;
}

bool drawsWithGpu(RendererChoice choice, bool platformShowsGpu, const std::function<GpuProbeAnswer()>& probe) {
    if (choice == RendererChoice::twoDimensional || !platformShowsGpu) return false;
    const GpuKind found = probe().kind;
    return found == GpuKind::hardware || (found == GpuKind::software && choice == RendererChoice::gpu);
}

} // namespace rewindle
