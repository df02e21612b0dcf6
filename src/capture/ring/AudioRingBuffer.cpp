#include "capture/ring/AudioRingBuffer.h"

#include "capture/ring/SummaryBatch.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace rewindle {
namespace {

std::int64_t checkedDuration(std::int64_t seconds) {
    constexpr auto kLongest = std::numeric_limits<std::int64_t>::max() / AudioRingBuffer::kFramesPerSecond;
    if (seconds >= 1 && seconds <= kLongest) return seconds;
    std::fprintf(stderr, "AudioRingBuffer: a duration of %lld s is not possible\n", static_cast<long long>(seconds));
    std::abort();
}

/// No copy of [start, end) is longer than this, whatever is held.
std::size_t longestCopy(std::int64_t start, std::int64_t end, std::int64_t capacityFrames) {
    const std::int64_t from = std::max<std::int64_t>(start, 0);
    return end > from ? static_cast<std::size_t>(std::min(end - from, capacityFrames)) : 0;
}

} // namespace

AudioRingBuffer::AudioRingBuffer(std::int64_t seconds, AudioMemory& memory)
    : durationSeconds(checkedDuration(seconds)), capacityFrames(durationSeconds * kFramesPerSecond),
      summaryBuckets(capacityFrames / kFramesPerBucket), bucketCount(summaryBuckets + 1),
      frames_(capacityFrames, memory), summary_(summaryBuckets, memory) {}

AudioRingBuffer::AudioRingBuffer(std::int64_t seconds, AudioMemory& memory, const AudioRingBuffer& old)
    : AudioRingBuffer(seconds, memory) {
    FrameRange kept;
    {
        const std::lock_guard hold(old.lock_);
        const SummaryState held = old.summary_.state();
        kept = {std::max(held.oldestRetainedFrame, held.totalFramesWritten - capacityFrames),
                held.totalFramesWritten};
        frames_.takeOver(old.frames_, kept);
        isFrozen_ = old.isFrozen_;
    }
    const std::lock_guard hold(lock_);
    WaveformSummary::Change change(summary_);
    change.store({kept.end / kFramesPerBucket, kept.end % kFramesPerBucket, kept.end, kept.first});
    recomputeSummary(kept, change);
}

void AudioRingBuffer::append(const AudioPCMBuffer& buffer) noexcept {
    if (!buffer.isWorkingFormat()) return;
    const std::lock_guard hold(lock_);
    if (isStill()) return;
    WaveformSummary::Change change(summary_);
    for (std::int64_t done = 0; done < buffer.frameLength;) {
        SummaryBatch batch(summary_);
        const std::int64_t stored =
            storeFrames(buffer.channels[0] + done, buffer.channels[1] + done, buffer.frameLength - done, batch);
        batch.store(change, stored, capacityFrames);
        done += stored;
    }
}

/// Stores frames until they or the batch's buckets run out; returns how many.
std::int64_t AudioRingBuffer::storeFrames(const float* left, const float* right, std::int64_t frames,
                                          SummaryBatch& batch) {
    std::int64_t done = 0;
    while (done < frames && !batch.isFull()) {
        const std::int64_t run = std::min({frames - done, batch.room(), frames_.room()});
        batch.add(frames_.store(left + done, right + done, run), run);
        done += run;
    }
    return done;
}

void AudioRingBuffer::fadeOutTail(std::int64_t frames) noexcept {
    const std::lock_guard hold(lock_);
    if (isStill()) return;
    const SummaryState state = summary_.state();
    const std::int64_t count = std::min(frames, state.totalFramesWritten - state.oldestRetainedFrame);
    if (count < 1) return;
    const FrameRange tail{state.totalFramesWritten - count, state.totalFramesWritten};
    frames_.fadeOut(tail);
    WaveformSummary::Change change(summary_);
    recomputeSummary(tail, change);
}

/// Takes the values of every bucket that `range` touches anew from all of its frames that are held.
void AudioRingBuffer::recomputeSummary(const FrameRange& range, WaveformSummary::Change& change) {
    if (range.count() == 0) return;
    const SummaryState state = summary_.state();
    std::array<BucketValues, SummaryBatch::kBuckets> values;
    const std::int64_t last = (range.end - 1) / kFramesPerBucket;
    for (std::int64_t first = range.first / kFramesPerBucket; first <= last; first += SummaryBatch::kBuckets) {
        const std::int64_t count = std::min(SummaryBatch::kBuckets, last - first + 1);
        for (std::int64_t i = 0; i < count; ++i) {
            const std::int64_t start = (first + i) * kFramesPerBucket;
            values[static_cast<std::size_t>(i)] =
                frames_.summaryOf({std::max(start, state.oldestRetainedFrame),
                                   std::min(start + kFramesPerBucket, state.totalFramesWritten)});
        }
        change.store(first, std::span(values.data(), static_cast<std::size_t>(count)));
    }
}

AudioRingBuffer::Stillness::Stillness(AudioRingBuffer& ring) : ring_(ring) {
    const std::lock_guard hold(ring_.lock_);
    ++ring_.stillnesses_;
}

AudioRingBuffer::Stillness::~Stillness() {
    const std::lock_guard hold(ring_.lock_);
    --ring_.stillnesses_;
}

bool AudioRingBuffer::isFrozen() const {
    const std::lock_guard hold(lock_);
    return isStill();
}

void AudioRingBuffer::setFrozen(bool frozen) {
    const std::lock_guard hold(lock_);
    isFrozen_ = frozen;
}

WaveformInfo AudioRingBuffer::info() const {
    const std::lock_guard hold(lock_);
    const SummaryState state = summary_.state();
    return {state.totalFramesWritten, state.oldestRetainedFrame};
}

std::int64_t AudioRingBuffer::totalFramesWritten() const {
    return info().totalFramesWritten;
}
std::int64_t AudioRingBuffer::oldestRetainedFrame() const {
    return info().oldestFrame;
}

std::int64_t AudioRingBuffer::retainedFrameCount() const {
    const WaveformInfo now = info();
    return now.totalFramesWritten - now.oldestFrame;
}

StereoSamples AudioRingBuffer::copyFrames(std::int64_t start, std::int64_t end) const {
    // Storage first: an append that waits for the lock must not wait for the allocator as well.
    const std::size_t longest = longestCopy(start, end, capacityFrames);
    if (longest == 0) return {};
    StereoSamples samples{SampleArray(longest), SampleArray(longest)};
    const std::lock_guard hold(lock_);
    const FrameRange range = clamped(start, end);
    frames_.copyOut(range, samples.left.data(), samples.right.data());
    samples.left.shrink(static_cast<std::size_t>(range.count()));
    samples.right.shrink(static_cast<std::size_t>(range.count()));
    return samples;
}

void AudioRingBuffer::copyFramesWithoutLock(std::int64_t start, std::int64_t end, std::span<float> left,
                                            std::span<float> right) const {
    const FrameRange range = clamped(start, end);
    assert(range.first == start && range.end == end);
    assert(std::ssize(left) == range.count() && std::ssize(right) == range.count());
    frames_.copyOut(range, left.data(), right.data());
}

float AudioRingBuffer::peakAmplitude(std::int64_t start, std::int64_t end) const {
    const std::lock_guard hold(lock_);
    const FrameRange range = clamped(start, end);
    if (range.count() == 0) return 0;
    const SummaryState state = summary_.state();
    const BucketRange whole{std::max((range.first + kFramesPerBucket - 1) / kFramesPerBucket,
                                     readableBuckets(state, summaryBuckets).first),
                            std::min(range.end / kFramesPerBucket, state.committedBuckets)};
    if (whole.empty()) return frames_.summaryOf(range).peak;
    float peak = summary_.peak(whole);
    const FrameRange before{range.first, whole.first * kFramesPerBucket};
    const FrameRange after{whole.end * kFramesPerBucket, range.end};
    if (before.count() > 0) peak = std::max(peak, frames_.summaryOf(before).peak);
    if (after.count() > 0) peak = std::max(peak, frames_.summaryOf(after).peak);
    return peak;
}

WaveformInfo AudioRingBuffer::readSummaryColumns(std::int64_t count, std::vector<float>& minOut,
                                                 std::vector<float>& maxOut, double startFrame,
                                                 double framesPerColumn, double endLimit) const {
    constexpr int kTriesWithoutLock = 4;
    const auto size = static_cast<std::size_t>(std::max<std::int64_t>(count, 0));
    if (minOut.size() < size) minOut.resize(size);
    if (maxOut.size() < size) maxOut.resize(size);
    const ColumnRequest request{framesPerColumn > 0 ? count : 0, startFrame, framesPerColumn, endLimit};
    for (int i = 0; i < kTriesWithoutLock; ++i) {
        if (const auto info = summary_.tryReadColumns(request, minOut.data(), maxOut.data())) return *info;
    }
    const std::lock_guard hold(lock_);
    return summary_.readColumns(request, minOut.data(), maxOut.data());
}

FrameRange AudioRingBuffer::clamped(std::int64_t start, std::int64_t end) const {
    const SummaryState state = summary_.state();
    return {std::max(start, state.oldestRetainedFrame), std::min(end, state.totalFramesWritten)};
}

} // namespace rewindle
