#include "capture/engine/CaptureRun.h"

#include "capture/tap/CaptureRestartSchedule.h"

namespace rewindle {

void CaptureRun::begin() {
    controlQueue_.assertCurrent();
    const auto started = tap_->start();
    if (started) return;
    if (const auto report = std::exchange(onFirstFailure_, nullptr)) report(started.error());
    retry_ = controlQueue_.asyncAfter(CaptureRestartSchedule::kRecoveryPause, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) self->begin();
    });
}

void CaptureRun::end() {
    controlQueue_.assertCurrent();
    retry_.cancel();
    tap_->stop();
}

} // namespace rewindle
