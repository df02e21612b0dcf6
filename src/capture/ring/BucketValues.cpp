#include "capture/ring/BucketValues.h"

#include <experimental/simd>
#include <limits>

namespace rewindle {
namespace {

namespace simd = std::experimental;
using Floats = simd::native_simd<float>;
constexpr auto kLanes = static_cast<std::int64_t>(Floats::size());
constexpr float kInfinity = std::numeric_limits<float>::infinity();

/// Extremes of the frames seen so far, one set for each lane. Kept of L + R: halving is monotonic, so that
/// half the extreme sum is the extreme mid, to the bit. Inlined by force, to stay in registers.
struct Extremes {
    Floats minSum = kInfinity;
    Floats maxSum = -kInfinity;
    Floats peak = 0.0F;

    [[gnu::always_inline]] void add(const Floats& left, const Floats& right) {
        const Floats sum = left + right;
        minSum = simd::min(sum, minSum);
        maxSum = simd::max(sum, maxSum);
        peak = simd::max(simd::abs(left), peak);
        peak = simd::max(simd::abs(right), peak);
    }
    [[gnu::always_inline]] void add(const Extremes& other) {
        minSum = simd::min(other.minSum, minSum);
        maxSum = simd::max(other.maxSum, maxSum);
        peak = simd::max(other.peak, peak);
    }
    [[nodiscard, gnu::always_inline]] BucketValues values() const {
        return {simd::hmin(minSum) * 0.5F, simd::hmax(maxSum) * 0.5F, simd::hmax(peak)};
    }
};

/// Where frames come from and where they go; the outputs are null when they are only looked at.
struct Run {
    const float* left;
    const float* right;
    float* leftOut;
    float* rightOut;
};

/// Takes one vector of frames from `i` on.
template <bool copies>
[[gnu::always_inline]] inline void addVector(Extremes& extremes, const Run& run, std::int64_t i) {
    const Floats left(run.left + i, simd::element_aligned);
    const Floats right(run.right + i, simd::element_aligned);
    if constexpr (copies) {
        left.copy_to(run.leftOut + i, simd::element_aligned);
        right.copy_to(run.rightOut + i, simd::element_aligned);
    }
    extremes.add(left, right);
}

/// Fewer frames than fill a vector.
template <bool copies>
BucketValues summariseFew(const Run& run, std::int64_t frames) {
    Extremes extremes;
    for (std::int64_t i = 0; i < frames; ++i) {
        const float left = run.left[i];
        const float right = run.right[i];
        if constexpr (copies) {
            run.leftOut[i] = left;
            run.rightOut[i] = right;
        }
        extremes.add(left, right);
    }
    return extremes.values();
}

template <bool copies>
BucketValues summariseRun(const Run& run, std::int64_t frames) {
    if (frames < kLanes) return summariseFew<copies>(run, frames);
    Extremes even; // two sets, so that a vector need not wait for the result of the one before
    Extremes odd;
    std::int64_t i = 0;
    for (; i + 2 * kLanes <= frames; i += 2 * kLanes) {
        addVector<copies>(even, run, i);
        addVector<copies>(odd, run, i + kLanes);
    }
    if (i + kLanes <= frames) addVector<copies>(even, run, i);
    // The last vector overlaps the one before: neither a copy nor an extreme minds seeing a frame twice.
    if (frames % kLanes != 0) addVector<copies>(odd, run, frames - kLanes);
    even.add(odd);
    return even.values();
}

} // namespace

BucketValues summarise(const float* left, const float* right, std::int64_t frames) noexcept {
    return summariseRun<false>({left, right, nullptr, nullptr}, frames);
}

BucketValues copyAndSummarise(const float* left, const float* right, std::int64_t frames, float* leftOut,
                              float* rightOut) noexcept {
    return summariseRun<true>({left, right, leftOut, rightOut}, frames);
}

} // namespace rewindle
