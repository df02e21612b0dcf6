#include "host/pipewire/TapDelivery.h"

namespace rewindle {

TapDelivery::TapDelivery(TapReceiver& receiver, PipeWireLoopQueue& captureQueue)
    : receiver_(receiver), captureQueue_(captureQueue) {
    captureQueue_.sync([this] {
        wake_.emplace(captureQueue_, [this] { receiver_.deliver(); });
        timer_.emplace(captureQueue_, receiver_);
    });
}

TapDelivery::~TapDelivery() {
    captureQueue_.sync([this] {
        timer_.reset();
        wake_.reset();
    });
}

void TapDelivery::begin() {
    captureQueue_.sync([this] { receiver_.begin(*timer_); });
}

void TapDelivery::end() {
    captureQueue_.sync([this] { receiver_.end(); });
}

void TapDelivery::receive(const TapReceiver::CycleTime& time, std::span<const float* const> channels) noexcept {
    if (receiver_.receive(time, channels)) wake_->trigger();
}

} // namespace rewindle
