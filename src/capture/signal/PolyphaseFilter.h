#pragma once

#include "base/Realtime.h"
#include "base/SampleArray.h"

#include <cstddef>
#include <cstdint>

namespace rewindle {

/// The low-pass filter for a change of sample rate by a fixed ratio, cut into one row of taps per phase.
///
/// Shape:   output frame n lies `n * inputStep / outputStep` input frames after the first one. That is a whole input
///          frame and a phase, a fraction over `outputStep`; each phase has a row of `tapCount()` taps.
/// Units:   the band ends below half of the lower of the two rates. Up to 0.907 of that the gain is 1 within 0.00001
///          dB; from there on it falls to -135 dB at that half.
/// Threads: immutable after construction, but for `row`, which one thread may call at a time.
class PolyphaseFilter {
public:
    /// Prepares the rows; a few milliseconds for common rates. Requires: both rates > 0.
    PolyphaseFilter(std::int64_t inputRate, std::int64_t outputRate);

    const std::int64_t outputStep; // the ratio of the rates in lowest terms
    const std::int64_t inputStep;
    /// A row for input frame i meets the frames from i - halfTaps + 1 to i + halfTaps. A multiple of 4.
    const std::int64_t halfTaps;
    /// The smallest whole number of output frames that are as long as `halfTaps` input frames: with the
    /// output this much late, the filter never asks for an input frame that is not there yet.
    const std::int64_t delayFrames;

    [[nodiscard]] std::int64_t tapCount() const noexcept { return 2 * halfTaps; }
    /// The taps for a frame `phase / outputStep` after an input frame. Valid until the next call.
    /// Requires: 0 <= phase < outputStep.
    [[nodiscard]] const float* row(std::int64_t phase) noexcept REWINDLE_NONBLOCKING;

private:
    const std::int64_t phasesPerFrame_; // rows for one input frame: outputStep, or fewer and `row` blends two
    SampleArray rows_;                  // one more than phasesPerFrame_, so that every row has a next one
    SampleArray blended_;
};

} // namespace rewindle
