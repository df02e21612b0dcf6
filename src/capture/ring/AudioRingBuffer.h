#pragma once

#include "base/AudioPCMBuffer.h"
#include "base/SampleArray.h"
#include "capture/ring/FrameStorage.h"
#include "capture/ring/WaveformInfo.h"
#include "capture/ring/WaveformSummary.h"
#include "platform/AudioMemory.h"

#include <cstdint>
#include <mutex>
#include <span>
#include <vector>

namespace rewindle {

class SummaryBatch;

/// The retained audio: the last `durationSeconds` of it, with a summary for every 128 frames to draw from.
///
/// Shape:     stereo float32 at 48,000 frames per second, one array per channel; per bucket of 128 frames the
///            minimum and maximum of the mono mix (L + R) / 2 and the peak max(|L|, |R|).
/// Units:     positions are absolute frame numbers since the first append; they survive a resize copy.
/// Threads:   one writer at a time for append and fadeOutTail; copyFramesWithoutLock says who may; everything else from
///            any thread.
/// Real time: append and fadeOutTail allocate nothing and block on one short lock. The column read blocks
///            nobody in the common case. All others hold the lock for as long as they copy or look.
/// Errors:    ranges are clamped to what is held; a buffer in a wrong format is ignored.
class AudioRingBuffer {
public:
    static constexpr std::int64_t kFramesPerSecond = 48'000;
    static constexpr std::int64_t kFramesPerBucket = kFramesPerSummaryBucket;

    /// Requires: durationSeconds >= 1 and small enough for its frames to be counted (else the process stops).
    AudioRingBuffer(std::int64_t durationSeconds, AudioMemory& memory);
    /// The resize copy: the newest audio of `old` that fits, under the same frame numbers; frozen as `old` is.
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
    /// Fades the newest `frames` frames (fewer when fewer are held) in a straight line to exactly 0 at the newest; none
    /// while frozen.
    void fadeOutTail(std::int64_t frames) noexcept;

    // The writer, and whoever holds a Stillness

    /// Copies [start, end), so that no reader waits for it. Requires: all of it is held; both spans are as long.
    void copyFramesWithoutLock(std::int64_t start, std::int64_t end, std::span<float> left,
                               std::span<float> right) const;

    // Any thread

    /// Whether appends are dropped: as last set, and while there is a Stillness.
    [[nodiscard]] bool isFrozen() const;
    void setFrozen(bool frozen);
    /// Keeps the ring buffer frozen while it exists, whatever is set meanwhile.
    class Stillness {
    public:
        explicit Stillness(AudioRingBuffer& ring);
        ~Stillness();
        Stillness(const Stillness&) = delete;
        Stillness& operator=(const Stillness&) = delete;

    private:
        AudioRingBuffer& ring_;
    };
    [[nodiscard]] std::int64_t totalFramesWritten() const;
    [[nodiscard]] std::int64_t oldestRetainedFrame() const;
    [[nodiscard]] std::int64_t retainedFrameCount() const;
    /// Both ends of the retained range at one moment.
    [[nodiscard]] WaveformInfo info() const;

    /// The part of [start, end) that is held, copied under one lock.
    [[nodiscard]] StereoSamples copyFrames(std::int64_t start, std::int64_t end) const;
    /// The largest absolute sample of both channels in [start, end); 0 when nothing of it is held.
    [[nodiscard]] float peakAmplitude(std::int64_t start, std::int64_t end) const;
    /// Fills `count` columns of `framesPerColumn` frames from `startFrame` on, none beyond `endLimit`, with
    /// the minimum and maximum of the mono mix; NaN where nothing is held. The arrays grow to `count`, never
    /// shrink. Nothing is filled when `count` < 1 or `framesPerColumn` <= 0.
    WaveformInfo readSummaryColumns(std::int64_t count, std::vector<float>& minOut, std::vector<float>& maxOut,
                                    double startFrame, double framesPerColumn, double endLimit) const;

private:
    // All of these under the lock, or by the writer
    [[nodiscard]] bool isStill() const noexcept { return isFrozen_ || stillnesses_ > 0; }
    [[nodiscard]] FrameRange clamped(std::int64_t start, std::int64_t end) const;
    void recomputeSummary(const FrameRange& range, WaveformSummary::Change& change);
    std::int64_t storeFrames(const float* left, const float* right, std::int64_t frames, SummaryBatch& batch);

    mutable std::mutex lock_; // guards all that follows; only the summary's tryReadColumns does without
    FrameStorage frames_;
    bool isFrozen_ = false;
    int stillnesses_ = 0;
    WaveformSummary summary_; // holds the totals too
};

} // namespace rewindle
