#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace rewindle {

enum class SampleFormat { float32, int16, int32 };

/// A view of one buffer of audio. It owns nothing; whoever made it keeps the samples alive.
///
/// Shape: `channelCount` channels of `frameLength` frames. Not interleaved: one pointer per channel, of which the
///        first two are kept here. Interleaved: all channels behind the first pointer.
struct AudioPCMBuffer {
    std::int64_t frameLength = 0;
    std::int64_t channelCount = 2;
    SampleFormat sampleFormat = SampleFormat::float32;
    bool isInterleaved = false;
    std::array<float*, 2> channels{nullptr, nullptr};

    /// What the capture path works on: two separate channels of 32-bit float, with data and at least one frame.
    [[nodiscard]] bool isWorkingFormat() const noexcept {
        return channelCount == 2 && sampleFormat == SampleFormat::float32 && !isInterleaved && frameLength > 0 &&
               channels[0] != nullptr && channels[1] != nullptr;
    }
};

} // namespace rewindle
