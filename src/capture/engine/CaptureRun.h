#pragma once

#include "base/SerialQueue.h"
#include "capture/tap/CoreAudioTapCapture.h"

#include <functional>
#include <memory>

namespace rewindle {

/// One stretch in which capture is wanted, from start to stop: starts the tap, and tries again for as long as
/// the first start fails. Later failures are the tap's own to retry.
///
/// Threads:   control queue, except for construction and `tap`.
/// Lifecycle: owned by a shared_ptr, which queued work refers to weakly. End it before releasing it.
class CaptureRun : public std::enable_shared_from_this<CaptureRun> {
public:
    using FailureHandler = std::function<void(const CoreAudioTapCaptureError&)>;

    CaptureRun(std::shared_ptr<CoreAudioTapCapture> tap, SerialQueue& controlQueue)
        : tap_(std::move(tap)), controlQueue_(controlQueue) {}
    CaptureRun(const CaptureRun&) = delete;
    CaptureRun& operator=(const CaptureRun&) = delete;

    /// Any thread.
    [[nodiscard]] const std::shared_ptr<CoreAudioTapCapture>& tap() const { return tap_; }

    /// Called on the control queue with the first failure only. Set before begin().
    void setFirstFailureHandler(FailureHandler handler) { onFirstFailure_ = std::move(handler); }
    /// Requires: not ended.
    void begin();
    /// Ends capture, or the tries to start it. Safe before begin().
    void end();

private:
    const std::shared_ptr<CoreAudioTapCapture> tap_;
    SerialQueue& controlQueue_;
    FailureHandler onFirstFailure_; // empty once it has been called
    DelayedWork retry_;
};

} // namespace rewindle
