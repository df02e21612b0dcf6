#include "capture/ring/AudioRingBuffer.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace rewindle {
namespace {

/// Enough for the buffers of any sound server; a longer one is taken in several steps.
constexpr std::int64_t kBatchBuckets = 128;

std::int64_t checkedDuration(std::int64_t seconds) {
    constexpr auto kLongest = std::numeric_limits<std::int64_t>::max() / AudioRingBuffer::kFramesPerSecond;
    if (seconds >= 1 && seconds <= kLongest) return seconds;
    std::fprintf(stderr, "AudioRingBuffer: a duration of %lld s is not possible\n", static_cast<long long>(seconds));
    std::abort();
}

} // namespace

/// Values of consecutive buckets, from the one being filled on, collected before any of them is shown to
/// readers.
class AudioRingBuffer::SummaryBatch {
public:
    explicit SummaryBatch(const WaveformSummary& summary) : state_(summary.state()), first_(state_.committedBuckets) {
        if (state_.bucketFill > 0) values_[0] = summary.bucket(first_);
    }

    [[nodiscard]] bool isFull() const { return completed() == kBatchBuckets; }
    /// How many frames the bucket being filled can still take.
    [[nodiscard]] std::int64_t room() const { return kFramesPerBucket - state_.bucketFill; }

    /// Requires: frames <= room(), and not full.
    void add(const BucketValues& values, std::int64_t frames) {
        BucketValues& bucket = values_[static_cast<std::size_t>(completed())];
        bucket = state_.bucketFill > 0 ? merged(bucket, values) : values;
        state_.bucketFill += frames;
        if (state_.bucketFill < kFramesPerBucket) return;
        state_.bucketFill = 0;
        ++state_.committedBuckets;
    }

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
    std::array<BucketValues, kBatchBuckets> values_; // unfilled: only what has been added is read
};

AudioRingBuffer::AudioRingBuffer(std::int64_t seconds, AudioMemory& memory)
    : durationSeconds(checkedDuration(seconds)), capacityFrames(durationSeconds * kFramesPerSecond),
      summaryBuckets(capacityFrames / kFramesPerBucket), bucketCount(summaryBuckets + 1),
      left_(capacityFrames, memory), right_(capacityFrames, memory), summary_(summaryBuckets, memory) {}

AudioRingBuffer::AudioRingBuffer(std::int64_t seconds, AudioMemory& memory, const AudioRingBuffer& old)
    : AudioRingBuffer(seconds, memory) {
    SummaryState state;
    std::int64_t kept = 0;
    {
        const std::lock_guard hold(old.lock_);
        state.totalFramesWritten = old.summary_.state().totalFramesWritten;
        kept = std::min({capacityFrames, old.capacityFrames, state.totalFramesWritten});
        state.oldestRetainedFrame = state.totalFramesWritten - kept;
        old.copyOut({state.oldestRetainedFrame, state.totalFramesWritten}, left_.data(), right_.data());
        isFrozen_ = old.isFrozen_;
    }
    writeIndex_ = kept % capacityFrames;
    state.committedBuckets = state.totalFramesWritten / kFramesPerBucket;
    state.bucketFill = state.totalFramesWritten % kFramesPerBucket;
    const std::lock_guard hold(lock_);
    WaveformSummary::Change change(summary_);
    change.store(state);
    recomputeSummary({state.oldestRetainedFrame, state.totalFramesWritten}, change);
}

/// Takes the lock. If it has to wait, a copy in chunks, which would else take it again at once, lets it pass.
std::unique_lock<std::mutex> AudioRingBuffer::lockToWrite() {
    std::unique_lock hold(lock_, std::try_to_lock);
    if (hold) return hold;
    writerWaits_.store(true, std::memory_order_relaxed);
    hold.lock();
    writerWaits_.store(false, std::memory_order_relaxed);
    return hold;
}

/// Stores frames until they or the batch's buckets run out; returns how many.
std::int64_t AudioRingBuffer::storeFrames(const float* left, const float* right, std::int64_t frames,
                                          SummaryBatch& batch) {
    std::int64_t done = 0;
    while (done < frames && !batch.isFull()) {
        const std::int64_t run = std::min({frames - done, batch.room(), capacityFrames - writeIndex_});
        batch.add(
            copyAndSummarise(left + done, right + done, run, left_.data() + writeIndex_, right_.data() + writeIndex_),
            run);
        writeIndex_ += run;
        if (writeIndex_ == capacityFrames) writeIndex_ = 0;
        done += run;
    }
    return done;
}

void AudioRingBuffer::append(const AudioPCMBuffer& buffer) noexcept {
    if (!buffer.isWorkingFormat()) return;
    const auto hold = lockToWrite();
    if (isFrozen_) return;
    WaveformSummary::Change change(summary_);
    for (std::int64_t done = 0; done < buffer.frameLength;) {
        SummaryBatch batch(summary_);
        const std::int64_t stored =
            storeFrames(buffer.channels[0] + done, buffer.channels[1] + done, buffer.frameLength - done, batch);
        batch.store(change, stored, capacityFrames);
        done += stored;
    }
}

void AudioRingBuffer::fadeOutTail(std::int64_t frames) noexcept {
    const auto hold = lockToWrite();
    const SummaryState state = summary_.state();
    const std::int64_t count = std::min(frames, state.totalFramesWritten - state.oldestRetainedFrame);
    if (count < 1) return;
    const FrameRange tail{state.totalFramesWritten - count, state.totalFramesWritten};
    const auto last = static_cast<float>(count - 1);
    forEachRun({tail.first, tail.end - 1}, [&](std::int64_t slot, std::int64_t offset, std::int64_t run) {
        for (std::int64_t i = 0; i < run; ++i) {
            const float gain = static_cast<float>(count - 1 - offset - i) / last;
            left_.data()[slot + i] *= gain;
            right_.data()[slot + i] *= gain;
        }
    });
    const std::int64_t newest = slotOf(tail.end - 1);
    left_.data()[newest] = right_.data()[newest] = 0;
    WaveformSummary::Change change(summary_);
    recomputeSummary(tail, change);
}

/// Takes the values of every bucket that `range` touches anew from all of its frames that are held.
void AudioRingBuffer::recomputeSummary(const FrameRange& range, WaveformSummary::Change& change) {
    if (range.count() == 0) return;
    const SummaryState state = summary_.state();
    std::array<BucketValues, kBatchBuckets> values;
    const std::int64_t last = (range.end - 1) / kFramesPerBucket;
    for (std::int64_t first = range.first / kFramesPerBucket; first <= last; first += kBatchBuckets) {
        const std::int64_t count = std::min(kBatchBuckets, last - first + 1);
        for (std::int64_t i = 0; i < count; ++i) {
            const std::int64_t start = (first + i) * kFramesPerBucket;
            values[static_cast<std::size_t>(i)] =
                summaryOf({std::max(start, state.oldestRetainedFrame),
                           std::min(start + kFramesPerBucket, state.totalFramesWritten)});
        }
        change.store(first, std::span(values.data(), static_cast<std::size_t>(count)));
    }
}

} // namespace rewindle
