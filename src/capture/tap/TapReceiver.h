#pragma once

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Realtime.h"
#include "base/SampleArray.h"
#include "capture/signal/StereoMixdown.h"
#include "capture/tap/TapFifo.h"
#include "capture/tap/TapTimeAxis.h"
#include "platform/AudioHardware.h"
#include "platform/OneShotTimer.h"

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

/// Takes the cycles of a tap from the audio thread to the I/O procedure on the capture queue, on a true time axis.
///
/// Shape:   as many channels in as the output device has, two out.
/// Threads: construct and destroy where no other thread uses it; the audio thread must be gone before end().
/// Errors:  cycles of another rate are dropped and reported once as an interruption. A cycle whose time is more than
///          `kTrustedNanoseconds` from now is taken to follow the one before it.
class TapReceiver {
public:
    struct Setup {
        double rate = 48'000;
        std::vector<std::string> channelPositions;
        std::uint32_t bufferFrames = 2048; // the most that one call of the I/O procedure gets
    };
    /// Called on the capture queue, together at most once per receiver.
    struct Handlers {
        std::function<void(double rate)> onFormatChanged;
        std::function<void(bool hadCycles)> onStalled; // the sink runs, but no cycle has come for 2 s
    };
    static constexpr std::int64_t kTrustedNanoseconds = 10'000'000'000;
    static constexpr std::int64_t kLongestSilenceSeconds = 600; // of one gap: what the longest ring buffer holds

    TapReceiver(Setup setup, const Clock& clock, LogSink& log, const std::atomic<DeliveryPace>& pace,
                TroubleCounters& troubles, AudioHardware::IoProc proc, Handlers handlers);
    TapReceiver(const TapReceiver&) = delete;
    TapReceiver& operator=(const TapReceiver&) = delete;

    // Capture queue
    /// From now on what comes in goes to the I/O procedure. `timer` calls timeIsUp(), and stays until end().
    void begin(OneShotTimer& timer);
    /// Hands over all that waits, and the silence that is due.
    void deliver();
    void timeIsUp();
    /// Hands over what still waits. Afterwards the I/O procedure is not called any more. Safe before begin().
    void end();

    // Any thread
    void setSinkRunning(bool running);
    /// The next cycle begins anew: what lies before it was a pause, no gap.
    void markPaused() noexcept { paused_.store(true, std::memory_order_relaxed); }
    /// From now on nothing is let in: something other than the output is linked to the tap.
    void mute() noexcept { muted_.store(true, std::memory_order_relaxed); }

    // Audio thread
    struct CycleTime {
        std::int64_t nanoseconds;
        std::uint64_t position; // frames, by the driver's count
        std::uint32_t frames;
        double rate;
    };
    /// Takes a cycle in; a null channel counts as silence. True when deliver() is to be called soon, and has not been
    /// asked for since it was called last.
    [[nodiscard]] bool receive(const CycleTime& time,
                               std::span<const float* const> channels) noexcept REWINDLE_NONBLOCKING;

private:
    [[nodiscard]] bool isDue() const noexcept REWINDLE_NONBLOCKING;
    [[nodiscard]] bool askOnce() noexcept REWINDLE_NONBLOCKING;
    void deliverCycle(const TapFifo::Cycle& cycle, std::int64_t now);
    [[nodiscard]] std::int64_t gapBefore(const TapFifo::Cycle& cycle, bool isTimeTrusted);
    [[nodiscard]] bool isSilent(const TapFifo::Cycle& cycle) const; // requires: `cycle` is at the front
    [[nodiscard]] std::int64_t arrival(const TapFifo::Cycle& cycle, std::int64_t now) const;
    [[nodiscard]] bool belongsToStart(const TapFifo::Cycle& cycle, std::int64_t now) const;
    [[nodiscard]] bool mayBelongToEnd(const TapFifo::Cycle& cycle);
    void deliverSilence(std::int64_t frames);
    void deliverPiece(std::size_t frames);
    void call(const float* left, const float* right, std::size_t frames);
    [[nodiscard]] std::uint64_t atTargetRate(std::uint64_t frames) const;
    void reportTroubles();
    void checkStall(std::int64_t now);
    void setTimer(std::chrono::nanoseconds now, bool idle);

    const Setup setup_;
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
    std::atomic<double> otherRate_{0};              // that cycles have come at, other than the setup's; 0: none has
    std::atomic<bool> asked_{false};                // for deliver(), which has not begun since
    std::atomic<std::int64_t> sinkRunningSince_{0}; // monotonic nanoseconds; 0: it does not run

    // Capture queue only
    OneShotTimer* timer_ = nullptr;                    // from begin() to end()
    std::optional<std::chrono::nanoseconds> timerDue_; // uptime; none while it is not set
    std::optional<TapTimeAxis> axis_;
    SampleArray mixedLeft_;
    SampleArray mixedRight_;
    std::vector<float> silence_;
    std::vector<const float*> pieces_;
    // Monotonic nanoseconds
    std::int64_t startedAt_ = 0;
    std::int64_t deliveredAt_ = 0; // last
    std::int64_t lastCycle_ = 0;   // when it was started before the first
    bool hadCycles_ = false;
    bool ending_ = false;
    std::int64_t heldBack_ = 0; // frames of silence that came last, while ending
    bool reported_ = false;
    bool doubted_ = false; // the time of some cycle
    std::uint64_t overrunsSeen_ = 0;
    std::uint64_t overrunFramesSeen_ = 0;
};

} // namespace rewindle
