#pragma once

#include "base/AudioPCMBuffer.h"
#include "base/SampleArray.h"
#include "capture/ring/AudioStorage.h"
#include "capture/ring/WaveformInfo.h"
#include "capture/ring/WaveformSummary.h"
#include "platform/AudioMemory.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <span>
#include <vector>

namespace rewindle {

/// The retained audio: the last `durationSeconds` of it, with a summary for every 128 frames to draw from.
///
/// Shape:     stereo float32 at 48,000 frames per second, one array per channel; per bucket of 128 frames the
///            minimum and maximum of the mono mix (L + R) / 2 and the peak max(|L|, |R|).
/// Units:     positions are absolute frame numbers since the first append; they survive a resize copy.
/// Threads:   one writer at a time for append, fadeOutTail and copyFramesAsWriter; everything else from any thread.
/// Real time: append and fadeOutTail allocate nothing and block on one short lock. The column read blocks
///            nobody in the common case. All others hold the lock for as long as they copy or look.
/// Errors:    ranges are clamped to what is held; a buffer in a wrong format is ignored.
class AudioRingBuffer {
public:
    static constexpr std::int64_t kFramesPerSecond = 48'000;
    static constexpr std::int64_t kFramesPerBucket = kFramesPerSummaryBucket;

    /// Requires: durationSeconds >= 1 and small enough for its frames to be counted (else the process stops).
    AudioRingBuffer(std::int64_t durationSeconds, AudioMemory& memory);
    /// The resize copy: the newest audio of `old` that fits, under the same frame numbers; frozen as `old`
    /// is. Where `old` once took over from a shorter buffer, what that one had lost already is silence.
    AudioRingBuffer(std::int64_t durationSeconds, AudioMemory& memory, const AudioRingBuffer& old);
    AudioRingBuffer(const AudioRingBuffer&) = delete;
    AudioRingBuffer& operator=(const AudioRingBuffer&) = delete;

    const std::int64_t durationSeconds;
    const std::int64_t capacityFrames;
    const std::int64_t summaryBuckets; // complete buckets that can be read back
    const std::int64_t bucketCount;    // one more, for the bucket being filled

    // The writer

    /// Appends a buffer in the working format; drops it whole while frozen.
    void append(const AudioPCMBuffer& buffer) noexcept;
    /// Fades the newest `frames` frames (fewer when fewer are held) in a straight line to exactly 0 at the
    /// newest.
    void fadeOutTail(std::int64_t frames) noexcept;
    /// Copies [start, end) without the lock, so that no reader waits for it: only the writer changes what is held.
    /// Requires: all of it is held; both spans are as long.
    void copyFramesAsWriter(std::int64_t start, std::int64_t end, std::span<float> left,
                            std::span<float> right) const;

    // Any thread

    [[nodiscard]] bool isFrozen() const;
    void setFrozen(bool frozen);
    [[nodiscard]] std::int64_t totalFramesWritten() const;
    [[nodiscard]] std::int64_t oldestRetainedFrame() const;
    [[nodiscard]] std::int64_t retainedFrameCount() const;
    /// Both ends of the retained range at one moment.
    [[nodiscard]] WaveformInfo info() const;

    /// The part of [start, end) that is held, copied under one lock.
    [[nodiscard]] StereoSamples copyFrames(std::int64_t start, std::int64_t end) const;
    /// The same, copied `chunkFrames` at a time with the buffer frozen meanwhile, so that no append waits for
    /// long.
    [[nodiscard]] StereoSamples copyFramesInChunks(std::int64_t start, std::int64_t end, std::int64_t chunkFrames);
    /// The largest absolute sample of both channels in [start, end); 0 when nothing of it is held.
    [[nodiscard]] float peakAmplitude(std::int64_t start, std::int64_t end) const;
    /// Fills `count` columns of `framesPerColumn` frames from `startFrame` on, none beyond `endLimit`, with
    /// the minimum and maximum of the mono mix; NaN where nothing is held. The arrays grow to `count`, never
    /// shrink. Nothing is filled when `count` < 1 or `framesPerColumn` <= 0.
    WaveformInfo readSummaryColumns(std::int64_t count, std::vector<float>& minOut, std::vector<float>& maxOut,
                                    double startFrame, double framesPerColumn, double endLimit) const;

private:
    struct FrameRange {
        std::int64_t first = 0;
        std::int64_t end = 0;
        [[nodiscard]] std::int64_t count() const noexcept { return end > first ? end - first : 0; }
    };
    class CopyFreeze;
    class SummaryBatch;

    // All of these under the lock, or by the writer
    [[nodiscard]] FrameRange clamped(std::int64_t start, std::int64_t end) const;
    [[nodiscard]] std::int64_t slotOf(std::int64_t frame) const;
    /// Calls `visit(slot, offset, frames)` for each stretch of storage in which `range` lies; `offset` counts
    /// from its first frame.
    template <class Visit>
    void forEachRun(const FrameRange& range, Visit visit) const;
    void copyOut(const FrameRange& range, float* left, float* right) const;
    [[nodiscard]] BucketValues summaryOf(const FrameRange& range) const;
    void recomputeSummary(const FrameRange& range, WaveformSummary::Change& change);
    std::int64_t storeFrames(const float* left, const float* right, std::int64_t frames, SummaryBatch& batch);

    // These without it
    [[nodiscard]] std::unique_lock<std::mutex> lockToWrite();
    void copyInChunks(const FrameRange& range, std::int64_t chunkFrames, float* left, float* right) const;
    void letWriterPass() const;

    std::atomic<bool> writerWaits_ = false; // for the lock; set by the writer only
    mutable std::mutex lock_;               // guards all that follows; only the summary's tryReadColumns does without
    AudioStorage left_;
    AudioStorage right_;
    std::int64_t writeIndex_ = 0; // the slot that receives the next frame
    bool isFrozen_ = false;
    WaveformSummary summary_; // holds the totals too
};

inline std::int64_t AudioRingBuffer::slotOf(std::int64_t frame) const {
    const std::int64_t slot = (writeIndex_ - (summary_.state().totalFramesWritten - frame)) % capacityFrames;
    return slot < 0 ? slot + capacityFrames : slot;
}

template <class Visit>
void AudioRingBuffer::forEachRun(const FrameRange& range, Visit visit) const {
    const std::int64_t count = range.count();
    if (count == 0) return;
    const std::int64_t slot = slotOf(range.first);
    const std::int64_t untilEnd = std::min(count, capacityFrames - slot);
    visit(slot, std::int64_t{0}, untilEnd);
    if (untilEnd < count) visit(std::int64_t{0}, untilEnd, count - untilEnd);
}

} // namespace rewindle
