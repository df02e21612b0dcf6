#include "render/gpu/WaveUniforms.h"

namespace rewindle {
namespace {

std::array<float, 2> floats(double first, double second) {
    return {static_cast<float>(first), static_cast<float>(second)};
}

} // namespace

WaveUniforms waveUniforms(const WaveformFrame& frame) {
    return {.viewportSize = floats(frame.viewport.width, frame.viewport.height),
            .columnStride = static_cast<float>(frame.columnStride),
            .fractionPoints = static_cast<float>(frame.fractionPoints),
            .midY = static_cast<float>(frame.midY),
            .amplitudeScale = static_cast<float>(frame.amplitudeScale),
            .columnCount = static_cast<std::uint32_t>(frame.columnCount),
            .useGradient = frame.useGradient ? 1U : 0U,
            .gradStart = floats(frame.gradStart.x, frame.gradStart.y),
            .gradEnd = floats(frame.gradEnd.x, frame.gradEnd.y),
            .gradColor0 = premultiplied(frame.gradColor0),
            .gradColor1 = premultiplied(frame.gradColor1),
            .flatColor = premultiplied(frame.flatColor)};
}

} // namespace rewindle
