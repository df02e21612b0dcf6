#include "capture/ring/RangeCopy.h"

#include <algorithm>
#include <span>

namespace rewindle {

RangeCopy::RangeCopy(std::shared_ptr<const AudioRingBuffer> ringBuffer, std::pair<std::int64_t, std::int64_t> range,
                     AudioMemory* memory, std::int64_t chunkFrames)
    : ringBuffer_(std::move(ringBuffer)), chunkFrames_(std::max<std::int64_t>(chunkFrames, 1)) {
    const WaveformInfo held = ringBuffer_->info();
    first_ = next_ = std::max(range.first, held.oldestFrame);
    end_ = std::max(first_, std::min(range.second, held.totalFramesWritten));
    const auto count = static_cast<std::size_t>(end_ - first_);
    const auto room = [&] { return memory ? memory->allocateSamples(count) : SampleArray(count); };
    samples_ = {room(), room()};
}

void RangeCopy::copyChunk() {
    const std::int64_t count = std::min(chunkFrames_, end_ - next_);
    if (count <= 0) return;
    const auto room = [&](SampleArray& channel) {
        return std::span(channel.data() + (next_ - first_), static_cast<std::size_t>(count));
    };
    ringBuffer_->copyFramesWithoutLock(next_, next_ + count, room(samples_.left), room(samples_.right));
    next_ += count;
    if (isWhole()) ringBuffer_.reset();
}

void RangeCopy::copyAheadOf(const AudioRingBuffer& ringBuffer, std::int64_t frames) {
    if (&ringBuffer != ringBuffer_.get()) return;
    const std::int64_t firstKept = ringBuffer.totalFramesWritten() + frames - ringBuffer.capacityFrames;
    while (next_ < firstKept && !isWhole())
        copyChunk();
}

StereoSamples copyFramesInChunks(AudioRingBuffer& ringBuffer, std::int64_t start, std::int64_t end,
                                 std::int64_t chunkFrames) {
    const AudioRingBuffer::Stillness stillness(ringBuffer);
    const std::shared_ptr<const AudioRingBuffer> notOurs(std::shared_ptr<void>(), &ringBuffer); // keeps nothing alive
    RangeCopy copy(notOurs, {start, end}, nullptr, chunkFrames);
    while (!copy.isWhole())
        copy.copyChunk();
    return copy.take();
}

} // namespace rewindle
