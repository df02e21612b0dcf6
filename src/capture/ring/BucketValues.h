#pragma once

#include <cstdint>

namespace rewindle {

inline constexpr std::int64_t kFramesPerSummaryBucket = 128;

/// What a summary bucket says of its frames: the minimum and maximum of the mono mix (L + R) / 2 and the
/// largest absolute sample of both channels. Of a bucket with a sample that is not a number they say nothing
/// reliable.
struct BucketValues {
    float min;
    float max;
    float peak;
};

/// The values of two runs of frames taken together.
[[nodiscard]] inline BucketValues merged(const BucketValues& a, const BucketValues& b) noexcept {
    return {b.min < a.min ? b.min : a.min, b.max > a.max ? b.max : a.max, b.peak > a.peak ? b.peak : a.peak};
}

/// Requires: frames > 0.
[[nodiscard]] BucketValues summarise(const float* left, const float* right, std::int64_t frames) noexcept;

/// Copies the frames to `leftOut` and `rightOut` while it looks at them: the stores' cache misses then cost
/// nothing on top of the arithmetic. Requires: frames > 0; the outputs overlap neither each other nor the
/// inputs.
[[nodiscard]] BucketValues copyAndSummarise(const float* left, const float* right, std::int64_t frames,
                                            float* leftOut, float* rightOut) noexcept;

} // namespace rewindle
