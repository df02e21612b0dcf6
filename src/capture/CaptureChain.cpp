#include "capture/CaptureChain.h"

#include "capture/CoreAudioTapCapture.h"

namespace rewindle {
namespace {

constexpr std::int64_t kSeamFadeOutFrames = 480;
constexpr std::int64_t kCopyChunkFrames = 262'144; // readers of the picture wait for one chunk at most

} // namespace

CaptureChain::CaptureChain(std::int64_t durationSeconds, float gainDb, AudioMemory& memory, const Clock& clock,
                           const SerialQueue& queue)
    : levelMeter(clock), memory_(memory), queue_(queue),
      ringBuffer_(std::make_shared<AudioRingBuffer>(durationSeconds, memory)) {
    seamSoftener.setGain(gainDb, false);
}

void CaptureChain::process(const AudioPCMBuffer& buffer) {
    queue_.assertCurrent();
    seamSoftener.process(buffer);
    levelMeter.ingest(buffer);
    ringBuffer_->append(buffer);
}

void CaptureChain::markSeam() {
    queue_.assertCurrent();
    const auto written = ringBuffer_->totalFramesWritten();
    if (written != seamFrame_) ringBuffer_->fadeOutTail(kSeamFadeOutFrames);
    seamFrame_ = written;
    seamSoftener.beginFadeIn();
}

void CaptureChain::fetchPending() {
    queue_.assertCurrent();
    if (const auto tap = tap_.lock()) tap->deliverPending();
}

void CaptureChain::setFrozen(bool frozen) {
    queue_.assertCurrent(); // so that no copy is under way, whose end would put its own flag back
    ringBuffer_->setFrozen(frozen);
}

StereoSamples CaptureChain::copy(std::pair<std::int64_t, std::int64_t> range) {
    queue_.assertCurrent();
    return ringBuffer_->copyFramesInChunks(range.first, range.second, kCopyChunkFrames);
}

std::shared_ptr<AudioRingBuffer> CaptureChain::resize(std::int64_t durationSeconds) {
    queue_.assertCurrent();
    if (durationSeconds == ringBuffer_->durationSeconds) return nullptr;
    ringBuffer_ = std::make_shared<AudioRingBuffer>(durationSeconds, memory_, *ringBuffer_);
    return ringBuffer_;
}

} // namespace rewindle
