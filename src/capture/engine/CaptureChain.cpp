#include "capture/engine/CaptureChain.h"

#include "capture/tap/CoreAudioTapCapture.h"

#include <new>

namespace rewindle {
namespace {

constexpr std::int64_t kSeamFadeOutFrames = 480;

/// Of that duration, or of the longest shorter one for which there is memory.
std::shared_ptr<AudioRingBuffer> makeRingBuffer(RecordingDuration duration, AudioMemory& memory) {
    for (auto i = kAllRecordingDurations.rbegin(); i != kAllRecordingDurations.rend(); ++i) {
        if (*i > duration) continue;
        try {
            return std::make_shared<AudioRingBuffer>(seconds(*i), memory);
        } catch (const std::bad_alloc&) {
            if (*i == kAllRecordingDurations.front()) throw;
        }
    }
    return nullptr; // there is no duration shorter than all
}

} // namespace

CaptureChain::CaptureChain(RecordingDuration duration, float gainDB, AudioMemory& memory, const Clock& clock,
                           const SerialQueue& queue)
    : levelMeter(clock), memory_(memory), queue_(queue), ringBuffer_(makeRingBuffer(duration, memory)) {
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
    try {
        auto copy = std::make_shared<RangeCopy>(ringBuffer_, range, &memory_);
        copies_.push_back(copy);
        return copy;
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}

/// Copies first what an append of `frames` would overwrite: audio that was held up comes faster than copies are made.
void CaptureChain::copyAheadOf(std::int64_t frames) {
    std::erase_if(copies_, [&](const auto& weak) {
        const auto copy = weak.lock();
        if (copy) copy->copyAheadOf(*ringBuffer_, frames);
        return !copy || copy->isWhole();
    });
}

Result<std::shared_ptr<AudioRingBuffer>, NoMemory> CaptureChain::resize(std::int64_t durationSeconds) {
    queue_.assertCurrent();
    if (durationSeconds == ringBuffer_->durationSeconds) return std::shared_ptr<AudioRingBuffer>();
    try {
        ringBuffer_ = std::make_shared<AudioRingBuffer>(durationSeconds, memory_, *ringBuffer_);
    } catch (const std::bad_alloc&) {
        return NoMemory();
    }
    return ringBuffer_;
}

} // namespace rewindle
