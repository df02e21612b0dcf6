#pragma once

#include "base/AudioPCMBuffer.h"
#include "base/Realtime.h"
#include "base/SampleArray.h"
#include "platform/AudioMemory.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace rewindle {

/// The frames that a ring buffer held at one moment: [oldestFrame, totalFramesWritten).
struct WaveformInfo {
    std::int64_t totalFramesWritten = 0;
    std::int64_t oldestFrame = 0;
    friend bool operator==(const WaveformInfo&, const WaveformInfo&) = default;
};

/// The retained audio: the last `durationSeconds` of it, with a summary for every 128 frames to draw from.
///
/// Shape:     stereo float32 at 48,000 frames per second, one array per channel; per bucket of 128 frames the
///            minimum and maximum of the mono mix (L + R) / 2 and the peak max(|L|, |R|).
/// Units:     positions are absolute frame numbers since the first append; they survive a resize copy.
/// Threads:   one writer at a time for append and fadeOutTail; everything else from any thread.
/// Real time: append and fadeOutTail allocate nothing and block on one short lock. The column read blocks nobody in
///            the common case.
/// Errors:    ranges are clamped to what is held; a buffer in a wrong format is ignored.
class AudioRingBuffer {
public:
    static constexpr std::int64_t kFramesPerSecond = 48'000;
    static constexpr std::int64_t kFramesPerBucket = 128;

    /// Requires: durationSeconds >= 1 and small enough for its frames to be counted (else the process stops).
    AudioRingBuffer(std::int64_t durationSeconds, AudioMemory& memory);
    /// The resize copy: the newest audio of `old` that fits, under the same frame numbers, frozen if `old` is.
    AudioRingBuffer(std::int64_t durationSeconds, AudioMemory& memory, const AudioRingBuffer& old);
    AudioRingBuffer(const AudioRingBuffer&) = delete;
    AudioRingBuffer& operator=(const AudioRingBuffer&) = delete;

    const std::int64_t durationSeconds;
    const std::int64_t capacityFrames;
    const std::int64_t summaryBuckets; // complete buckets that can be read back
    const std::int64_t bucketCount;    // one more, for the bucket being filled

    // The writer

    /// Appends a buffer in the working format; drops it whole while frozen.
    void append(const AudioPCMBuffer& buffer) noexcept REWINDLE_NONBLOCKING;
    /// Fades the newest `frames` frames (fewer when fewer are held) in a straight line to exactly 0 at the newest.
    void fadeOutTail(std::int64_t frames) noexcept REWINDLE_NONBLOCKING;

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
    /// The same, copied `chunkFrames` at a time with the buffer frozen meanwhile, so that no append waits for long.
    [[nodiscard]] StereoSamples copyFramesInChunks(std::int64_t start, std::int64_t end, std::int64_t chunkFrames);
    /// The largest absolute sample of both channels in [start, end); 0 when nothing of it is held.
    [[nodiscard]] float peakAmplitude(std::int64_t start, std::int64_t end) const;
    /// Fills `count` columns of `framesPerColumn` frames from `startFrame` on, none beyond `endLimit`, with the
    /// minimum and maximum of the mono mix; NaN where nothing is held. The arrays grow to `count`, never shrink.
    WaveformInfo readSummaryColumns(std::int64_t count, std::vector<float>& minOut, std::vector<float>& maxOut,
                                    double startFrame, double framesPerColumn, double endLimit) const;

private:
    // owned by the implementation
};

} // namespace rewindle
