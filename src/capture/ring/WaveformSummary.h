#pragma once

#include "capture/ring/AudioStorage.h"
#include "capture/ring/BucketValues.h"
#include "capture/ring/SummaryColumns.h"
#include "capture/ring/WaveformInfo.h"
#include "platform/AudioMemory.h"

#include <atomic>
#include <cstdint>
#include <optional>
#include <span>

namespace rewindle {

/// The bucket values of the retained audio and how far it has come, readable while they are written.
///
/// Shape:     three arrays of `bucketCount` values; absolute bucket b lives in slot b mod `bucketCount`.
/// Threads:   changes and plain reads under one lock, the ring buffer's; tryReadColumns from any thread.
/// Real time: nothing but the constructor allocates.
class WaveformSummary {
public:
    /// Keeps one more slot than `summaryBuckets`, for the bucket being filled.
    WaveformSummary(std::int64_t summaryBuckets, AudioMemory& memory);
    WaveformSummary(const WaveformSummary&) = delete;
    WaveformSummary& operator=(const WaveformSummary&) = delete;

    // Under the lock

    /// The one way to change the summary: readers without the lock see all of a change or nothing of it. They
    /// are turned away from its first store until it is destroyed.
    class Change {
    public:
        explicit Change(WaveformSummary& summary) noexcept : summary_(summary) {}
        ~Change() {
            if (isOpen_) summary_.summarySeq_.store(summary_.summarySeq_.load(kRelaxed) + 1);
        }
        Change(const Change&) = delete;
        Change& operator=(const Change&) = delete;

        /// Stores the values of as many buckets in a row.
        void store(std::int64_t firstBucket, std::span<const BucketValues> values) noexcept;
        void store(const SummaryState& state) noexcept;

    private:
        void open() noexcept {
            if (!isOpen_) summary_.beginStores();
            isOpen_ = true;
        }

        WaveformSummary& summary_;
        bool isOpen_ = false;
    };

    [[nodiscard]] SummaryState state() const noexcept {
        return {committedBuckets_.load(kRelaxed), bucketFill_.load(kRelaxed), totalFramesWritten_.load(kRelaxed),
                oldestRetainedFrame_.load(kRelaxed)};
    }
    [[nodiscard]] BucketValues bucket(std::int64_t bucket) const noexcept {
        const std::int64_t slot = slotOf(bucket);
        return {bucketMin_.data()[slot], bucketMax_.data()[slot], bucketPeak_.data()[slot]};
    }
    [[nodiscard]] BucketRange readable() const noexcept { return readableBuckets(state(), summaryBuckets_); }
    /// The largest peak of some buckets. Requires: they are readable.
    [[nodiscard]] float peak(BucketRange buckets) const noexcept;
    /// Fills `request.count` columns; NaN where nothing can be read.
    WaveformInfo readColumns(const ColumnRequest& request, float* minOut, float* maxOut) const noexcept;

    // Any thread, without the lock

    /// The same, unless a change came in between: then nothing, and what the outputs hold is worthless.
    [[nodiscard]] std::optional<WaveformInfo> tryReadColumns(const ColumnRequest& request, float* minOut,
                                                             float* maxOut) const noexcept;

private:
    static constexpr auto kRelaxed = std::memory_order_relaxed;
    void beginStores() noexcept;
    [[nodiscard]] std::int64_t slotOf(std::int64_t bucket) const noexcept {
        return bucket == committedBuckets_.load(kRelaxed) ? fillSlot_ : bucket % bucketCount_;
    }

    const std::int64_t summaryBuckets_;
    const std::int64_t bucketCount_;
    AudioStorage bucketMin_;
    AudioStorage bucketMax_;
    AudioStorage bucketPeak_;
    std::int64_t fillSlot_ = 0; // of the bucket being filled; spares short appends the divisions
    // Atomic because they are read without the lock too; the sequence says whether they belong together.
    std::atomic<std::int64_t> committedBuckets_{0};
    std::atomic<std::int64_t> bucketFill_{0};
    std::atomic<std::int64_t> totalFramesWritten_{0};
    std::atomic<std::int64_t> oldestRetainedFrame_{0};
    std::atomic<std::uint64_t> summarySeq_{0}; // odd while a change is being stored
};

// Inline, because an append of a few frames is short enough to feel each call.

inline void WaveformSummary::Change::store(std::int64_t firstBucket, std::span<const BucketValues> values) noexcept {
    open();
    std::int64_t slot = summary_.slotOf(firstBucket);
    for (const BucketValues& value : values) {
        summary_.bucketMin_.data()[slot] = value.min;
        summary_.bucketMax_.data()[slot] = value.max;
        summary_.bucketPeak_.data()[slot] = value.peak;
        if (++slot == summary_.bucketCount_) slot = 0;
    }
}

inline void WaveformSummary::Change::store(const SummaryState& state) noexcept {
    open();
    if (state.committedBuckets != summary_.committedBuckets_.load(kRelaxed)) {
        summary_.fillSlot_ = state.committedBuckets % summary_.bucketCount_;
    }
    summary_.committedBuckets_.store(state.committedBuckets, kRelaxed);
    summary_.bucketFill_.store(state.bucketFill, kRelaxed);
    summary_.totalFramesWritten_.store(state.totalFramesWritten, kRelaxed);
    summary_.oldestRetainedFrame_.store(state.oldestRetainedFrame, kRelaxed);
}

} // namespace rewindle
