#pragma once

#include "capture/ring/BucketValues.h"

#include <algorithm>
#include <cstdint>

namespace rewindle {

/// How far the retained audio and its summary have come; the summary's sequence counter covers all four.
struct SummaryState {
    std::int64_t committedBuckets = 0; // complete since frame 0: the number of the bucket being filled
    std::int64_t bucketFill = 0;       // frames in the bucket being filled, 0..127
    std::int64_t totalFramesWritten = 0;
    std::int64_t oldestRetainedFrame = 0;
};

/// The columns that a view asks for: column i covers [start + width * i, start + width * (i + 1)), none of it
/// beyond `end`. All in frames.
struct ColumnRequest {
    std::int64_t count = 0;
    double start = 0;
    double width = 0;
    double end = 0;
};

/// A half-open range of bucket numbers.
struct BucketRange {
    std::int64_t first = 0;
    std::int64_t end = 0;
    [[nodiscard]] bool empty() const noexcept { return first >= end; }
};

/// Which buckets can be read in `state`: the complete ones that are not overwritten yet, then the one being
/// filled once it holds a frame.
[[nodiscard]] inline BucketRange readableBuckets(const SummaryState& state, std::int64_t summaryBuckets) noexcept {
    return {std::max<std::int64_t>(state.committedBuckets - summaryBuckets, 0),
            state.committedBuckets + (state.bucketFill > 0 ? 1 : 0)};
}

/// The readable buckets that column `i` touches.
[[nodiscard]] inline BucketRange columnBuckets(const ColumnRequest& request, std::int64_t i,
                                               const SummaryState& state, const BucketRange& readable) noexcept {
    const double columnStart = request.start + request.width * static_cast<double>(i);
    const double columnEnd = columnStart + request.width;
    // The bounds come first, so that whatever is asked for, both ends stay frame numbers.
    const double low = std::max(static_cast<double>(state.oldestRetainedFrame), columnStart);
    const double upper = std::min(static_cast<double>(state.totalFramesWritten), request.end);
    const double high = std::min(upper, columnEnd);
    if (high <= low) return {};
    const auto first = static_cast<std::int64_t>(low) / kFramesPerSummaryBucket;
    const auto last = static_cast<std::int64_t>(high - 1) / kFramesPerSummaryBucket;
    return {std::max(first, readable.first), std::min(last + 1, readable.end)};
}

} // namespace rewindle
