#pragma once

#include <cstdint>

namespace rewindle {

/// The frames that a ring buffer held at one moment: [oldestFrame, totalFramesWritten).
struct WaveformInfo {
    std::int64_t totalFramesWritten = 0;
    std::int64_t oldestFrame = 0;
    friend bool operator==(const WaveformInfo&, const WaveformInfo&) = default;
};

} // namespace rewindle
