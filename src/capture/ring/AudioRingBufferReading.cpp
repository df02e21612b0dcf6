#include "capture/ring/AudioRingBuffer.h"

#include <algorithm>
#include <cassert>
#include <thread>

namespace rewindle {
namespace {

/// No copy of [start, end) is longer than this, whatever is held.
std::size_t longestCopy(std::int64_t start, std::int64_t end, std::int64_t capacityFrames) {
    const std::int64_t from = std::max<std::int64_t>(start, 0);
    return end > from ? static_cast<std::size_t>(std::min(end - from, capacityFrames)) : 0;
}

} // namespace

/// Keeps what is held as it is while somebody copies it piece by piece.
class AudioRingBuffer::CopyFreeze {
public:
    CopyFreeze(AudioRingBuffer& ring, std::int64_t start, std::int64_t end) : ring_(ring) {
        const std::lock_guard hold(ring_.lock_);
        wasFrozen_ = ring_.isFrozen_;
        ring_.isFrozen_ = true;
        range_ = ring_.clamped(start, end);
    }
    ~CopyFreeze() { ring_.setFrozen(wasFrozen_); }
    CopyFreeze(const CopyFreeze&) = delete;
    CopyFreeze& operator=(const CopyFreeze&) = delete;

    [[nodiscard]] const FrameRange& range() const { return range_; }

private:
    AudioRingBuffer& ring_;
    bool wasFrozen_ = false;
    FrameRange range_;
};

bool AudioRingBuffer::isFrozen() const {
    const std::lock_guard hold(lock_);
    return isFrozen_;
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
    copyOut(range, samples.left.data(), samples.right.data());
    samples.left.shrink(static_cast<std::size_t>(range.count()));
    samples.right.shrink(static_cast<std::size_t>(range.count()));
    return samples;
}

StereoSamples AudioRingBuffer::copyFramesInChunks(std::int64_t start, std::int64_t end, std::int64_t chunkFrames) {
    const CopyFreeze freeze(*this, start, end);
    const auto count = static_cast<std::size_t>(freeze.range().count());
    StereoSamples samples{SampleArray(count), SampleArray(count)};
    copyInChunks(freeze.range(), chunkFrames, samples.left.data(), samples.right.data());
    return samples;
}

void AudioRingBuffer::copyFramesAsWriter(std::int64_t start, std::int64_t end, std::span<float> left,
                                         std::span<float> right) const {
    const FrameRange range = clamped(start, end);
    assert(range.first == start && range.end == end);
    assert(std::ssize(left) == range.count() && std::ssize(right) == range.count());
    copyOut(range, left.data(), right.data());
}

void AudioRingBuffer::copyInChunks(const FrameRange& range, std::int64_t chunkFrames, float* left,
                                   float* right) const {
    const std::int64_t chunk = std::max<std::int64_t>(chunkFrames, 1);
    for (std::int64_t done = 0; done < range.count();) {
        const std::int64_t count = std::min(chunk, range.count() - done);
        const std::int64_t first = range.first + done;
        {
            const std::lock_guard hold(lock_);
            copyOut({first, first + count}, left + done, right + done);
        }
        done += count;
        letWriterPass();
    }
}

/// The mutex is not fair: whoever unlocks it and locks it again is faster than a thread that has to wake up first.
void AudioRingBuffer::letWriterPass() const {
    constexpr int kMostYields = 1000; // about as many microseconds; a writer that never comes must not end the copy
    for (int i = 0; i < kMostYields && writerWaits_.load(std::memory_order_relaxed); ++i) {
        std::this_thread::yield();
    }
}

float AudioRingBuffer::peakAmplitude(std::int64_t start, std::int64_t end) const {
    const std::lock_guard hold(lock_);
    const FrameRange range = clamped(start, end);
    if (range.count() == 0) return 0;
    const SummaryState state = summary_.state();
    const BucketRange whole{std::max((range.first + kFramesPerBucket - 1) / kFramesPerBucket,
                                     readableBuckets(state, summaryBuckets).first),
                            std::min(range.end / kFramesPerBucket, state.committedBuckets)};
    if (whole.empty()) return summaryOf(range).peak;
    float peak = summary_.peak(whole);
    const FrameRange before{range.first, whole.first * kFramesPerBucket};
    const FrameRange after{whole.end * kFramesPerBucket, range.end};
    if (before.count() > 0) peak = std::max(peak, summaryOf(before).peak);
    if (after.count() > 0) peak = std::max(peak, summaryOf(after).peak);
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

AudioRingBuffer::FrameRange AudioRingBuffer::clamped(std::int64_t start, std::int64_t end) const {
    const SummaryState state = summary_.state();
    return {std::max(start, state.oldestRetainedFrame), std::min(end, state.totalFramesWritten)};
}

void AudioRingBuffer::copyOut(const FrameRange& range, float* left, float* right) const {
    forEachRun(range, [&](std::int64_t slot, std::int64_t offset, std::int64_t frames) {
        std::copy_n(left_.data() + slot, frames, left + offset);
        std::copy_n(right_.data() + slot, frames, right + offset);
    });
}

/// Requires: `range` is not empty.
BucketValues AudioRingBuffer::summaryOf(const FrameRange& range) const {
    BucketValues values{};
    forEachRun(range, [&](std::int64_t slot, std::int64_t offset, std::int64_t frames) {
        const BucketValues part = summarise(left_.data() + slot, right_.data() + slot, frames);
        values = offset == 0 ? part : merged(values, part);
    });
    return values;
}

} // namespace rewindle
