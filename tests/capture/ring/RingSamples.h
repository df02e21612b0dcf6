#pragma once

#include "capture/ring/AudioRingBuffer.h"

#include <cstdint>
#include <vector>

namespace rewindle::test {

/// A stretch of stereo samples that can be appended to a ring.
struct RingSamples {
    std::vector<float> left;
    std::vector<float> right;

    RingSamples() = default;
    RingSamples(std::int64_t frames, float leftLevel, float rightLevel)
        : left(static_cast<std::size_t>(frames), leftLevel), right(static_cast<std::size_t>(frames), rightLevel) {}

    [[nodiscard]] AudioPCMBuffer buffer() {
        AudioPCMBuffer buffer;
        buffer.frameLength = static_cast<std::int64_t>(left.size());
        buffer.channels = {left.data(), right.data()};
        return buffer;
    }
};

} // namespace rewindle::test
