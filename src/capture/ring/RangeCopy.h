#pragma once

#include "base/SampleArray.h"
#include "capture/ring/AudioRingBuffer.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace rewindle {

/// A stretch of the retained audio on its way out. It is copied chunk by chunk, so that what is captured meanwhile can be
/// appended in between.
///
/// Units:   frame numbers of the ring buffer.
/// Threads: the ring buffer's writer, or whoever holds a Stillness of it from before the copy to its end.
class RangeCopy {
public:
    static constexpr std::int64_t kLongChunk = 262'144; // 5 s: an append waits for one chunk at most

    /// Of [range.first, range.second), what is held now. A chunk has at least one frame. The copy is made in `memory`, or on
    /// the heap where there is none. Throws std::bad_alloc.
    RangeCopy(std::shared_ptr<const AudioRingBuffer> ringBuffer, std::pair<std::int64_t, std::int64_t> range,
              AudioMemory* memory, std::int64_t chunkFrames = kLongChunk);

    /// Copies the next chunk; nothing when there is none.
    void copyChunk();
    /// Copies what has to give way when `frames` more are appended to `ringBuffer`, if that is where this copy comes from.
    void copyAheadOf(const AudioRingBuffer& ringBuffer, std::int64_t frames);
    [[nodiscard]] bool isWhole() const { return next_ >= end_; }
    /// Requires: whole, and not taken before.
    [[nodiscard]] StereoSamples take() { return std::move(samples_); }

private:
    // Stays the same when the engine goes on in another; null once the copy is whole.
    std::shared_ptr<const AudioRingBuffer> ringBuffer_;
    std::int64_t chunkFrames_;
    std::int64_t first_ = 0;
    std::int64_t next_ = 0;
    std::int64_t end_ = 0;
    StereoSamples samples_;
};

/// The part of [start, end) that is held, copied `chunkFrames` at a time. What is appended meanwhile is dropped, and waits
/// for nothing. Any thread.
[[nodiscard]] StereoSamples copyFramesInChunks(AudioRingBuffer& ringBuffer, std::int64_t start, std::int64_t end,
                                               std::int64_t chunkFrames);

} // namespace rewindle
