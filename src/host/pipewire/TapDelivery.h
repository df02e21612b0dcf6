#pragma once

#include "capture/tap/TapReceiver.h"
#include "host/pipewire/PipeWireLoopQueue.h"
#include "platform/OneShotTimer.h"

#include <chrono>
#include <optional>
#include <span>

namespace rewindle {

/// Brings a tap's receiver together with the sound server: takes cycles on the audio thread, and wakes the capture queue
/// when the receiver asks for it or its timer is due.
///
/// Threads: the control queue, except where a method says otherwise. The audio thread must be gone before end().
class TapDelivery {
public:
    /// `receiver` outlives this.
    TapDelivery(TapReceiver& receiver, PipeWireLoopQueue& captureQueue);
    /// Requires: ended, or never begun.
    ~TapDelivery();
    TapDelivery(const TapDelivery&) = delete;
    TapDelivery& operator=(const TapDelivery&) = delete;

    void begin();
    /// Hands over what still waits.
    void end();

    // Audio thread
    void receive(const TapReceiver::CycleTime& time,
                 std::span<const float* const> channels) noexcept REWINDLE_NONBLOCKING;

private:
    class Timer final : public OneShotTimer {
    public:
        Timer(PipeWireLoopQueue& queue, TapReceiver& receiver)
            : timer_(queue, [&receiver] { receiver.timeIsUp(); }) {}
        void set(std::chrono::nanoseconds delay) override { timer_.set(delay); }

    private:
        PipeWireLoopQueue::Timer timer_;
    };

    TapReceiver& receiver_;
    PipeWireLoopQueue& captureQueue_;
    // Made and released on the capture queue. The signal is there before the first cycle and outlives the last.
    std::optional<PipeWireLoopQueue::Signal> wake_;
    std::optional<Timer> timer_;
};

} // namespace rewindle
