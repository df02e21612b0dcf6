#include "capture/RangeCopy.h"

#include <algorithm>
#include <cassert>
#include <span>

namespace rewindle {
namespace {

constexpr std::int64_t kPieceFrames = 262'144; // readers of the picture wait for one piece at most

} // namespace

RangeCopy::RangeCopy(std::shared_ptr<AudioRingBuffer> ringBuffer, std::pair<std::int64_t, std::int64_t> range)
    : ringBuffer_(std::move(ringBuffer)) {
    const WaveformInfo held = ringBuffer_->info();
    first_ = next_ = std::max(range.first, held.oldestFrame);
    end_ = std::max(first_, std::min(range.second, held.totalFramesWritten));
    const auto count = static_cast<std::size_t>(end_ - first_);
    samples_ = {SampleArray(count), SampleArray(count)};
}

void RangeCopy::copyPiece() {
    const std::int64_t count = std::min(kPieceFrames, end_ - next_);
    if (count <= 0) return;
    const auto room = [&](SampleArray& channel) {
        return std::span(channel.data() + (next_ - first_), static_cast<std::size_t>(count));
    };
    [[maybe_unused]] const std::int64_t copied = ringBuffer_->copyFramesInChunks(
        next_, next_ + count, kPieceFrames, room(samples_.left), room(samples_.right));
    assert(copied == count); // nobody appends who does not let the copy go ahead
    next_ += count;
}

void RangeCopy::copyAheadOf(const AudioRingBuffer& ringBuffer, std::int64_t frames) {
    if (&ringBuffer != ringBuffer_.get()) return;
    const std::int64_t firstKept = ringBuffer.totalFramesWritten() + frames - ringBuffer.capacityFrames;
    while (next_ < firstKept && !isWhole())
        copyPiece();
}

} // namespace rewindle
