#pragma once

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Realtime.h"
#include "base/SampleArray.h"
#include "capture/signal/StereoMixdown.h"
#include "capture/tap/TapFifo.h"
#include "capture/tap/TapTimeAxis.h"
#include "host/pipewire/PipeWireLoopQueue.h"
#include "platform/AudioHardware.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace rewindle {

/// Sums of `CaptureTroubles` that outlive the receiver which adds to them.
struct TroubleCounters {
    std::atomic<std::uint64_t> gaps{0};
    std::atomic<std::uint64_t> gapFrames{0};
    std::atomic<std::uint64_t> overruns{0};
    std::atomic<std::uint64_t> overrunFrames{0};
};

/// Takes the cycles of a tap from the audio thread to the I/O procedure on the capture thread, on a true time axis.
///
/// Shape:   as many channels in as the output device has, two out.
/// Threads: construct, start, finish and destroy on the control queue; the audio thread must be gone before finish().
/// Errors:  cycles of another rate are dropped and reported once as an interruption.
class TapReceiver {
public:
    struct Setup {
        double rate = 48'000;
        std::vector<std::string> channelPositions;
        std::uint32_t bufferFrames = 2048; // the most that one call of the I/O procedure gets
    };
    /// Called on the capture thread, at most once per receiver.
    struct Handlers {
        std::function<void(double rate)> onFormatChanged;
        std::function<void(bool hadCycles)> onStalled; // the sink runs, but no cycle has come for 2 s
    };

    TapReceiver(Setup setup, PipeWireLoopQueue& captureQueue, const Clock& clock, LogSink& log,
                const std::atomic<DeliveryPace>& pace, TroubleCounters& troubles, AudioHardware::IoProc proc,
                Handlers handlers);
    TapReceiver(const TapReceiver&) = delete;
    TapReceiver& operator=(const TapReceiver&) = delete;

    // Control queue
    void start();
    /// Hands over what still waits and ends. Afterwards the I/O procedure is not called any more.
    void finish();
    void setSinkRunning(bool running);
    void markPaused() { paused_.store(true, std::memory_order_relaxed); }

    // Audio thread
    struct CycleTime {
        std::int64_t nanoseconds;
        std::uint64_t position; // frames, by the driver's count
        std::uint32_t frames;
        double rate;
    };
    void receive(const CycleTime& time, std::span<const float* const> channels) noexcept REWINDLE_NONBLOCKING;

    // Any thread
    /// From now on nothing is let in: something other than the output is linked to the tap.
    void mute() noexcept { muted_.store(true, std::memory_order_relaxed); }

    // Capture queue
    void deliver();

private:
    void wake() noexcept REWINDLE_NONBLOCKING;
    void deliverCycle(const TapFifo::Cycle& cycle);
    [[nodiscard]] bool isSilent(const TapFifo::Cycle& cycle) const; // requires: `cycle` is at the front
    [[nodiscard]] bool belongsToStart(const TapFifo::Cycle& cycle) const;
    [[nodiscard]] bool mayBelongToEnd(const TapFifo::Cycle& cycle);
    void deliverSilence(std::int64_t frames);
    void deliverPiece(std::size_t frames);
    void call(const float* left, const float* right, std::size_t frames);
    [[nodiscard]] std::uint64_t atTargetRate(std::uint64_t frames) const;
    void reportTroubles();
    void checkStall(std::int64_t now);
    void setTimer(std::chrono::nanoseconds now, bool idle);

    const Setup setup_;
    PipeWireLoopQueue& captureQueue_;
    const Clock& clock_;
    const Log log_;
    const std::atomic<DeliveryPace>& pace_;
    TroubleCounters& troubles_;
    const AudioHardware::IoProc proc_;
    const Handlers handlers_;
    const StereoMixdown mixdown_;
    TapFifo fifo_;

    // Audio thread only
    std::uint64_t nextPosition_ = 0;

    // Between threads, each a value on its own
    std::atomic<bool> muted_{false};
    std::atomic<bool> paused_{true};
    std::atomic<double> otherRate_{0}; // that cycles have come at, other than the setup's; 0: none has
    std::atomic<bool> woken_{false};   // saves the audio thread a system call while a wake-up is on its way
    std::atomic<PipeWireLoopQueue::Signal*> wakeTarget_{nullptr}; // &*signal_ while there is one
    std::atomic<std::int64_t> sinkRunningSince_{0};               // monotonic nanoseconds; 0: it does not run

    // Capture thread only
    std::optional<PipeWireLoopQueue::Signal> signal_;
    std::optional<PipeWireLoopQueue::Timer> timer_;
    std::optional<std::chrono::nanoseconds> timerDue_; // uptime; none while it is not set
    std::optional<TapTimeAxis> axis_;
    SampleArray mixedLeft_;
    SampleArray mixedRight_;
    std::vector<float> silence_;
    std::vector<const float*> pieces_;
    std::int64_t startedAt_ = 0; // monotonic nanoseconds
    std::int64_t lastCycle_ = 0; // the same; when it was started before the first
    bool hadCycles_ = false;
    bool ending_ = false;
    std::int64_t heldBack_ = 0; // frames of silence that came last, while ending
    bool reported_ = false;
    std::uint64_t overrunsSeen_ = 0;
    std::uint64_t overrunFramesSeen_ = 0;
};

} // namespace rewindle
