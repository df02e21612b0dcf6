#pragma once

#include <cstdint>
#include <span>

namespace rewindle {

/// One buffer of an I/O cycle: `channelCount` interleaved channels in `byteSize` bytes; `data` may be null.
struct AudioBuffer {
    std::uint32_t channelCount = 0;
    std::uint32_t byteSize = 0;
    const void* data = nullptr;
};

/// All buffers of one I/O cycle, in the device's order. A view: valid during the callback that receives it.
using AudioBufferList = std::span<const AudioBuffer>;

/// A linear PCM stream as a device reports it.
struct StreamDescription {
    double sampleRate = 0; // frames per second
    std::uint32_t channelsPerFrame = 0;
    std::uint32_t bitsPerChannel = 0;
    bool isFloat = true;
    bool isInterleaved = false;
    friend bool operator==(const StreamDescription&, const StreamDescription&) = default;
};

} // namespace rewindle
