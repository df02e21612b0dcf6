#pragma once

#include "capture/ring/AudioStorage.h"
#include "capture/ring/BucketValues.h"
#include "platform/AudioMemory.h"

#include <cstdint>

namespace rewindle {

/// A half-open range of frame numbers.
struct FrameRange {
    std::int64_t first = 0;
    std::int64_t end = 0;
    [[nodiscard]] std::int64_t count() const noexcept { return end > first ? end - first : 0; }
};

/// The samples of the newest frames, found by the frames' numbers. Which of them are held, the ring buffer knows.
///
/// Shape:     stereo float32, one array per channel, written round and round.
/// Threads:   reads from any thread while nobody writes.
/// Real time: nothing but the constructor allocates.
class FrameStorage {
public:
    FrameStorage(std::int64_t capacityFrames, AudioMemory& memory)
        : capacityFrames_(capacityFrames), left_(capacityFrames, memory), right_(capacityFrames, memory) {}

    /// Begins with a range of another storage, under the same numbers. Requires: nothing is stored here yet; `range` is
    /// there, and fits.
    void takeOver(const FrameStorage& other, const FrameRange& range) noexcept;
    /// How many frames one store can take: up to the end of the arrays.
    [[nodiscard]] std::int64_t room() const noexcept { return capacityFrames_ - writeIndex_; }
    /// Stores the next frames and says what a summary says of them. Requires: 0 < frames <= room().
    BucketValues store(const float* left, const float* right, std::int64_t frames) noexcept {
        const auto values =
            copyAndSummarise(left, right, frames, left_.data() + writeIndex_, right_.data() + writeIndex_);
        writeIndex_ += frames;
        if (writeIndex_ == capacityFrames_) writeIndex_ = 0;
        return values;
    }

    // Of ranges that are held

    /// Fades in a straight line, from 1 at the first frame to exactly 0 at the last. Requires: not empty.
    void fadeOut(const FrameRange& range) noexcept;
    void copyOut(const FrameRange& range, float* left, float* right) const noexcept;
    /// Requires: not empty.
    [[nodiscard]] BucketValues summaryOf(const FrameRange& range) const noexcept;

private:
    template <class Visit>
    void forEachRun(const FrameRange& range, Visit visit) const;

    const std::int64_t capacityFrames_;
    AudioStorage left_;
    AudioStorage right_;
    std::int64_t firstFrame_ = 0; // ever stored here, in slot 0
    std::int64_t writeIndex_ = 0; // the slot that receives the next frame
};

} // namespace rewindle
