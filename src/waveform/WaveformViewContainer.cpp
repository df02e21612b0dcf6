#include "waveform/WaveformViewContainer.h"

namespace rewindle {

WaveformViewContainer::WaveformViewContainer(std::shared_ptr<WaveformView> waveformView)
    : waveformView_(std::move(waveformView)), isFollowingLive_(waveformView_->editor().timeline().followLive) {
    waveformView_->onFollowLiveChanged = [this](bool follows) { isFollowingLive_.set(follows); };
}

WaveformViewContainer::~WaveformViewContainer() {
    waveformView_->onFollowLiveChanged = nullptr;
}

std::string_view WaveformViewContainer::followHelpText() const {
    return isFollowingLive_.get() ? "Pause live follow" : "Resume live follow";
}

void WaveformViewContainer::pressFollowButton() {
    if (isFollowingLive_.get()) {
        waveformView_->pauseLiveFollow();
    } else {
        waveformView_->resumeLiveFollow();
    }
}

Rect WaveformViewContainer::followButtonRect(Size bounds) {
    return {bounds.width - overlayPadding - buttonBoxSize, overlayPadding, buttonBoxSize, buttonBoxSize};
}

} // namespace rewindle
