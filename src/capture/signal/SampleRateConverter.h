#pragma once

#include "base/Realtime.h"
#include "base/SampleArray.h"
#include "capture/signal/PolyphaseFilter.h"

#include <cstdint>

namespace rewindle {

/// A stretch of stereo audio that somebody else owns, one array per channel.
struct StereoInput {
    const float* left = nullptr;
    const float* right = nullptr;
    std::int64_t frames = 0;
};

/// Changes the sample rate of a stereo stream, frame by frame as it arrives.
///
/// Shape:     float32, one array per channel. N input frames, in all calls together, have made
///            ceil(N * outputRate / inputRate) output frames: from the first call on, and without drift. The
///            output does not depend on how the input was cut into calls.
/// Units:     output frame n is the input at (n - delayFrames()) / outputRate seconds after its first frame;
///            what lies before that frame is silence. From 44,100 to 48,000 the delay is 105 frames, 2.19 ms;
///            from rates above the output's 96 to 100 frames; from lower rates 96 input frames, rounded up.
/// Threads:   one at a time.
/// Real time: everything but the constructor is wait-free and allocation-free.
class SampleRateConverter {
public:
    /// Prepares the filter; takes a few milliseconds for common rates. Requires: both rates > 0.
    SampleRateConverter(std::int64_t inputRate, std::int64_t outputRate);

    /// Writes what follows from `input`, at most `capacity` frames, and returns how many. `input` is moved
    /// past the frames that were taken: all of them, unless `capacity` was reached; what is left is for the
    /// next call. Requires: `input` and output do not overlap.
    std::int64_t process(StereoInput& input, float* outLeft, float* outRight,
                         std::int64_t capacity) noexcept REWINDLE_NONBLOCKING;

    [[nodiscard]] std::int64_t delayFrames() const noexcept { return filter_.delayFrames; }

private:
    void takeIn(StereoInput& input) noexcept REWINDLE_NONBLOCKING;
    std::int64_t availableFrames() const noexcept REWINDLE_NONBLOCKING;
    void writeFrames(float* outLeft, float* outRight, std::int64_t frames) noexcept REWINDLE_NONBLOCKING;
    void writePhase(float* outLeft, float* outRight, std::int64_t frames) noexcept REWINDLE_NONBLOCKING;
    void moveOn(std::int64_t whole, std::int64_t phase) noexcept REWINDLE_NONBLOCKING;

    PolyphaseFilter filter_;
    // In input frames, a whole number and a fraction over filter_.outputStep:
    const std::int64_t delayWhole_; // the delay
    const std::int64_t delayPhase_;
    const std::int64_t stepWhole_; // the distance of two output frames
    const std::int64_t stepPhase_;

    const std::int64_t historyFrames_; // so many that the next output frame may still need
    SampleArray left_;                 // the newest input, history first
    SampleArray right_;
    std::int64_t filled_; // frames in them
    // Where the next output frame would lie without the delay. It is made once the frame at `next_` is there.
    std::int64_t next_;
    std::int64_t nextPhase_ = 0;
};

} // namespace rewindle
