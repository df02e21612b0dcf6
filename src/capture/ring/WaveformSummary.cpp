#include "capture/ring/WaveformSummary.h"

#include "capture/ring/BucketExtent.h"

#include <algorithm>
#include <limits>

namespace rewindle {
namespace {

/// Where the readable buckets lie, without a division for each: they fill at most one round of the slots.
struct SlotMap {
    std::int64_t firstBucket;
    std::int64_t firstSlot;
    std::int64_t slots;

    SlotMap(std::int64_t bucket, std::int64_t slotCount)
        : firstBucket(bucket), firstSlot(bucket % slotCount), slots(slotCount) {}

    /// Calls `visit(slot, count)` for each of the one or two stretches in which `buckets` lie.
    template <class Visit>
    void forEachRun(const BucketRange& buckets, Visit visit) const {
        std::int64_t slot = firstSlot + (buckets.first - firstBucket);
        if (slot >= slots) slot -= slots;
        const std::int64_t count = buckets.end - buckets.first;
        const std::int64_t untilEnd = std::min(count, slots - slot);
        visit(slot, untilEnd);
        if (untilEnd < count) visit(std::int64_t{0}, count - untilEnd);
    }
};

BucketExtent extentOfLocked(const float* mins, const float* maxs, std::int64_t count) noexcept {
    return extentOf(mins, maxs, count);
}

/// The one place that reads what another thread may be writing. ThreadSanitizer is told not to look, because
/// the race is meant: tryReadColumns checks afterwards that the sequence has not moved, and throws the values
/// away if it has. Nothing but the values depends on the loads: no address, no length of a loop.
[[gnu::noinline]] __attribute__((no_sanitize("thread"))) BucketExtent
extentOfRacing(const float* mins, const float* maxs, std::int64_t count) noexcept {
    return extentOf(mins, maxs, count);
}

struct Columns {
    const ColumnRequest& request;
    float* minOut;
    float* maxOut;
};

template <BucketExtent (*extentOfRun)(const float*, const float*, std::int64_t) noexcept>
void fillColumns(const Columns& columns, const SummaryState& state, const BucketRange& readable,
                 std::int64_t bucketCount, const float* mins, const float* maxs) noexcept {
    const SlotMap slots(readable.first, bucketCount);
    for (std::int64_t i = 0; i < columns.request.count; ++i) {
        const BucketRange buckets = columnBuckets(columns.request, i, state, readable);
        if (buckets.empty()) {
            columns.minOut[i] = columns.maxOut[i] = std::numeric_limits<float>::quiet_NaN();
            continue;
        }
        BucketExtent extent;
        slots.forEachRun(buckets, [&](std::int64_t slot, std::int64_t count) {
            extent.add(extentOfRun(mins + slot, maxs + slot, count));
        });
        columns.minOut[i] = extent.min;
        columns.maxOut[i] = extent.max;
    }
}

WaveformInfo infoOf(const SummaryState& state) {
    return {state.totalFramesWritten, state.oldestRetainedFrame};
}

} // namespace

WaveformSummary::WaveformSummary(std::int64_t summaryBuckets, AudioMemory& memory)
    : summaryBuckets_(summaryBuckets), bucketCount_(summaryBuckets + 1), bucketMin_(bucketCount_, memory),
      bucketMax_(bucketCount_, memory), bucketPeak_(bucketCount_, memory) {}

void WaveformSummary::beginStores() noexcept {
    summarySeq_.store(summarySeq_.load(kRelaxed) + 1, kRelaxed);
    std::atomic_thread_fence(std::memory_order_seq_cst); // no store of the change is seen before the odd number
}

float WaveformSummary::peak(BucketRange buckets) const noexcept {
    float peak = 0;
    if (buckets.empty()) return peak;
    SlotMap(buckets.first, bucketCount_).forEachRun(buckets, [&](std::int64_t slot, std::int64_t count) {
        peak = std::max(peak, largestOf(bucketPeak_.data() + slot, count));
    });
    return peak;
}

WaveformInfo WaveformSummary::readColumns(const ColumnRequest& request, float* minOut, float* maxOut) const noexcept {
    const SummaryState now = state();
    fillColumns<extentOfLocked>({request, minOut, maxOut}, now, readableBuckets(now, summaryBuckets_), bucketCount_,
                                bucketMin_.data(), bucketMax_.data());
    return infoOf(now);
}

std::optional<WaveformInfo> WaveformSummary::tryReadColumns(const ColumnRequest& request, float* minOut,
                                                            float* maxOut) const noexcept {
    const std::uint64_t sequence = summarySeq_.load(std::memory_order_acquire);
    if (sequence % 2 != 0) return std::nullopt;
    const SummaryState now = state();
    fillColumns<extentOfRacing>({request, minOut, maxOut}, now, readableBuckets(now, summaryBuckets_), bucketCount_,
                                bucketMin_.data(), bucketMax_.data());
    std::atomic_thread_fence(std::memory_order_acquire); // every load above comes before the check
    if (summarySeq_.load(kRelaxed) != sequence) return std::nullopt;
    return infoOf(now);
}

} // namespace rewindle
