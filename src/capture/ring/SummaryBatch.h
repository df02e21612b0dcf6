#pragma once

#include "capture/ring/BucketValues.h"
#include "capture/ring/WaveformSummary.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

namespace rewindle {

/// Values of consecutive buckets, from the one being filled on, collected before any of them is shown to readers.
///
/// Threads:   as the summary's plain reads and changes.
/// Real time: allocates nothing.
class SummaryBatch {
public:
    /// Enough for the buffers of any sound server; a longer one is taken in several steps.
    static constexpr std::int64_t kBuckets = 128;

    explicit SummaryBatch(const WaveformSummary& summary) : state_(summary.state()), first_(state_.committedBuckets) {
        if (state_.bucketFill > 0) values_[0] = summary.bucket(first_);
    }

    [[nodiscard]] bool isFull() const { return completed() == kBuckets; }
    /// How many frames the bucket being filled can still take.
    [[nodiscard]] std::int64_t room() const { return kFramesPerSummaryBucket - state_.bucketFill; }

    /// Requires: frames <= room(), and not full.
    void add(const BucketValues& values, std::int64_t frames) {
        BucketValues& bucket = values_[static_cast<std::size_t>(completed())];
        bucket = state_.bucketFill > 0 ? merged(bucket, values) : values;
        state_.bucketFill += frames;
        if (state_.bucketFill < kFramesPerSummaryBucket) return;
        state_.bucketFill = 0;
        ++state_.committedBuckets;
    }

    /// Shows what was added, `frames` frames in all, in a ring buffer that holds `capacity`.
    void store(WaveformSummary::Change& change, std::int64_t frames, std::int64_t capacity) {
        state_.totalFramesWritten += frames;
        state_.oldestRetainedFrame = std::max(state_.oldestRetainedFrame, state_.totalFramesWritten - capacity);
        const std::int64_t used = completed() + (state_.bucketFill > 0 ? 1 : 0);
        change.store(first_, std::span(values_.data(), static_cast<std::size_t>(used)));
        change.store(state_);
    }

private:
    [[nodiscard]] std::int64_t completed() const { return state_.committedBuckets - first_; }

    SummaryState state_;
    std::int64_t first_;
    std::array<BucketValues, kBuckets> values_; // unfilled: only what has been added is read
};

} // namespace rewindle
