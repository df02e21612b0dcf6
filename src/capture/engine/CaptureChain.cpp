#include "capture/engine/CaptureChain.h"

#include "capture/tap/CoreAudioTapCapture.h"

namespace rewindle {
namespace {

constexpr std::int64_t kSeamFadeOutFrames = 480;

} // namespace

CaptureChain::CaptureChain(std::int64_t durationSeconds, float gainDB, AudioMemory& memory, const Clock& clock,
                           const SerialQueue& queue)
    : levelMeter(clock), memory_(memory), queue_(queue),
      ringBuffer_(std::make_shared<AudioRingBuffer>(durationSeconds, memory)) {
    seamSoftener.setGain(gainDB, false);
}

void CaptureChain::process(const AudioPCMBuffer& buffer) {
    queue_.assertCurrent();
    seamSoftener.process(buffer);
    levelMeter.ingest(buffer);
    copyAheadOf(buffer.frameLength);
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

void CaptureChain::fetchEnd() {
    queue_.assertCurrent();
    if (const auto tap = tap_.lock()) tap->deliverEnd();
}

void CaptureChain::setFrozen(bool frozen) {
    queue_.assertCurrent(); // between two buffers, so that neither is cut
    ringBuffer_->setFrozen(frozen);
}

std::shared_ptr<RangeCopy> CaptureChain::beginCopy(std::pair<std::int64_t, std::int64_t> range) {
    queue_.assertCurrent();
    auto copy = std::make_shared<RangeCopy>(ringBuffer_, range);
    copies_.push_back(copy);
    return copy;
}

/// Copies first what an append of `frames` would overwrite: audio that was held up comes faster than copies are made.
void CaptureChain::copyAheadOf(std::int64_t frames) {
    std::erase_if(copies_, [&](const auto& weak) {
        const auto copy = weak.lock();
        if (copy) copy->copyAheadOf(*ringBuffer_, frames);
        return !copy || copy->isWhole();
    });
}

std::shared_ptr<AudioRingBuffer> CaptureChain::resize(std::int64_t durationSeconds) {
    queue_.assertCurrent();
    if (durationSeconds == ringBuffer_->durationSeconds) return nullptr;
    ringBuffer_ = std::make_shared<AudioRingBuffer>(durationSeconds, memory_, *ringBuffer_);
    return ringBuffer_;
}

} // namespace rewindle
