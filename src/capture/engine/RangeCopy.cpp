#include "capture/engine/RangeCopy.h"

#include <algorithm>
#include <span>

namespace rewindle {
namespace {

constexpr std::int64_t kPieceFrames = 262'144; // an append waits for one piece at most

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
    ringBuffer_->copyFramesAsWriter(next_, next_ + count, room(samples_.left), room(samples_.right));
    next_ += count;
}

void RangeCopy::copyAheadOf(const AudioRingBuffer& ringBuffer, std::int64_t frames) {
    if (&ringBuffer != ringBuffer_.get()) return;
    const std::int64_t firstKept = ringBuffer.totalFramesWritten() + frames - ringBuffer.capacityFrames;
    while (next_ < firstKept && !isWhole())
        copyPiece();
}

} // namespace rewindle
