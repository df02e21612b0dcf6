#pragma once

#include <cstdint>
#include <experimental/simd>
#include <limits>

namespace rewindle {

/// The smallest and the largest mono mix in some buckets.
struct BucketExtent {
    float min = std::numeric_limits<float>::max();
    float max = std::numeric_limits<float>::lowest();

    [[gnu::always_inline]] void add(const BucketExtent& other) noexcept {
        if (other.min < min) min = other.min;
        if (other.max > max) max = other.max;
    }
};

/// The extent of `count` buckets that lie side by side.
///
/// Inlined by force: each caller decides for itself whether ThreadSanitizer watches the loads.
[[gnu::always_inline]] inline BucketExtent extentOf(const float* mins, const float* maxs,
                                                    std::int64_t count) noexcept {
    namespace simd = std::experimental;
    using Floats = simd::native_simd<float>;
    constexpr auto kLanes = static_cast<std::int64_t>(Floats::size());

    BucketExtent extent;
    if (count < kLanes) {
        for (std::int64_t i = 0; i < count; ++i)
            extent.add({mins[i], maxs[i]});
        return extent;
    }
    Floats min0 = extent.min,
           max0 = extent.max; // two of each, so that a load need not wait for the one before
    Floats min1 = extent.min, max1 = extent.max;
    std::int64_t i = 0;
    for (; i + 2 * kLanes <= count; i += 2 * kLanes) {
        min0 = simd::min(Floats(mins + i, simd::element_aligned), min0);
        max0 = simd::max(Floats(maxs + i, simd::element_aligned), max0);
        min1 = simd::min(Floats(mins + i + kLanes, simd::element_aligned), min1);
        max1 = simd::max(Floats(maxs + i + kLanes, simd::element_aligned), max1);
    }
    if (i + kLanes <= count) {
        min0 = simd::min(Floats(mins + i, simd::element_aligned), min0);
        max0 = simd::max(Floats(maxs + i, simd::element_aligned), max0);
    }
    if (count % kLanes != 0) { // overlaps the vector before; an extreme does not mind seeing a bucket twice
        min1 = simd::min(Floats(mins + count - kLanes, simd::element_aligned), min1);
        max1 = simd::max(Floats(maxs + count - kLanes, simd::element_aligned), max1);
    }
    return {simd::hmin(simd::min(min0, min1)), simd::hmax(simd::max(max0, max1))};
}

/// The largest of some values that are not negative.
[[nodiscard]] inline float largestOf(const float* values, std::int64_t count) noexcept {
    namespace simd = std::experimental;
    using Floats = simd::native_simd<float>;
    constexpr auto kLanes = static_cast<std::int64_t>(Floats::size());

    Floats largest[4] = {0.0F, 0.0F, 0.0F, 0.0F}; // several, so that a load need not wait for the one before
    std::int64_t i = 0;
    for (; i + 4 * kLanes <= count; i += 4 * kLanes) {
        for (std::int64_t k = 0; k < 4; ++k) {
            largest[k] = simd::max(Floats(values + i + k * kLanes, simd::element_aligned), largest[k]);
        }
    }
    float rest = 0;
    for (; i < count; ++i)
        rest = values[i] > rest ? values[i] : rest;
    const Floats together = simd::max(simd::max(largest[0], largest[1]), simd::max(largest[2], largest[3]));
    return simd::hmax(simd::max(together, Floats(rest)));
}

} // namespace rewindle
