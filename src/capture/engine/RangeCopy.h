#pragma once

#include "base/SampleArray.h"
#include "capture/ring/AudioRingBuffer.h"

#include <cstdint>
#include <memory>
#include <utility>

namespace rewindle {

/// A stretch of the retained audio on its way out. It is copied piece by piece, so that what is captured meanwhile is
/// appended in between.
///
/// Units:   frame numbers of the ring buffer.
/// Threads: the capture queue, where nothing is appended during a piece.
class RangeCopy {
public:
    /// Of [range.first, range.second), what is held now.
    RangeCopy(std::shared_ptr<AudioRingBuffer> ringBuffer, std::pair<std::int64_t, std::int64_t> range);

    /// Copies the next piece; nothing when there is none.
    void copyPiece();
    /// Copies what has to give way when `frames` more are appended to `ringBuffer`, if that is where this copy comes from.
    void copyAheadOf(const AudioRingBuffer& ringBuffer, std::int64_t frames);
    [[nodiscard]] bool isWhole() const { return next_ >= end_; }
    /// Requires: whole, and not taken before.
    [[nodiscard]] StereoSamples take() { return std::move(samples_); }

private:
    std::shared_ptr<AudioRingBuffer> ringBuffer_; // stays the same when the engine goes on in another
    std::int64_t first_ = 0;
    std::int64_t next_ = 0;
    std::int64_t end_ = 0;
    StereoSamples samples_;
};

} // namespace rewindle
