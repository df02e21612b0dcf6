#include "capture/tap/TapReceiver.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <utility>

namespace rewindle {
namespace {

using namespace std::chrono_literals;

// A copy of ten minutes holds the capture thread up for less than a second; twice that twice over is held.
constexpr double kFifoSeconds = 4;
constexpr double kLongestEmptyEnd = 0.1; // seconds; longer silence at the end was really there
constexpr std::size_t kLiveWakeFrames = 480;
constexpr std::int64_t kIdleNanoseconds = 100'000'000; // longer than cycles are, but for the very longest
constexpr std::int64_t kStallNanoseconds = 2'000'000'000;

} // namespace

TapReceiver::TapReceiver(Setup setup, const Clock& clock, LogSink& log, const std::atomic<DeliveryPace>& pace,
                         TroubleCounters& troubles, AudioHardware::IoProc proc, Handlers handlers)
    : setup_(std::move(setup)), clock_(clock), log_(log, "CoreAudioTap"), pace_(pace), troubles_(troubles),
      proc_(std::move(proc)), handlers_(std::move(handlers)), mixdown_(setup_.channelPositions),
      fifo_(static_cast<std::size_t>(std::ceil(setup_.rate * kFifoSeconds)), setup_.channelPositions.size()),
      silence_(setup_.bufferFrames, 0.0F), pieces_(setup_.channelPositions.size()) {
    if (mixdown_.isPassThrough()) return;
    mixedLeft_ = SampleArray(setup_.bufferFrames);
    mixedRight_ = SampleArray(setup_.bufferFrames);
}

// Capture queue

void TapReceiver::begin(OneShotTimer& timer) {
    timer_ = &timer;
    startedAt_ = lastCycle_ = deliveredAt_ = clock_.uptime().count();
    axis_.emplace(setup_.rate, startedAt_);
    deliver();
}

void TapReceiver::end() {
    if (!axis_) return;
    ending_ = true;
    deliver();
    if (static_cast<double>(heldBack_) > setup_.rate * kLongestEmptyEnd) deliverSilence(heldBack_);
    axis_.reset();
    timer_ = nullptr;
}

void TapReceiver::timeIsUp() {
    timerDue_.reset();
    deliver();
}

void TapReceiver::deliver() {
    if (!axis_) return;
    asked_.exchange(false, std::memory_order_acq_rel); // a store could pass the look into the FIFO that follows
    const auto now = clock_.uptime().count();
    while (const auto* cycle = fifo_.front())
        deliverCycle(*cycle, now);
    deliveredAt_ = now;
    const bool idle = now - lastCycle_ > kIdleNanoseconds;
    // While the sink runs, the next cycle is late rather than missing: nothing may part it from the last.
    const bool late = hadCycles_ && sinkRunningSince_.load(std::memory_order_relaxed) != 0;
    // Once the tap is interrupted a restart is due, whose gap is not filled.
    const bool interrupted = reported_ || muted_.load(std::memory_order_relaxed);
    if (idle && !interrupted)
        deliverSilence(axis_->silenceWhileIdle(late ? now - TapTimeAxis::kStallTolerance : now));
    reportTroubles();
    checkStall(now);
    setTimer(std::chrono::nanoseconds(now), idle);
}

/// By the cycle's own time, which counts no further than it can be true: what waits has come since the last look.
std::int64_t TapReceiver::arrival(const TapFifo::Cycle& cycle, std::int64_t now) const {
    return std::clamp(cycle.nanoseconds, deliveredAt_, now);
}

bool TapReceiver::isSilent(const TapFifo::Cycle& cycle) const {
    const auto isZero = [](float sample) { return sample == 0; };
    for (std::size_t channel = 0; channel < fifo_.channels(); ++channel) {
        const float* samples = fifo_.data(channel);
        if (!std::all_of(samples, samples + fifo_.contiguousFrames(), isZero)) return false;
    }
    return fifo_.contiguousFrames() == cycle.frames; // one that wraps counts as sound: it costs nothing
}

/// The first cycle after a link was made is empty, because the other side has not run yet. Silence that short is none
/// of the recording's, and must not use up the fade-in of what follows.
bool TapReceiver::belongsToStart(const TapFifo::Cycle& cycle, std::int64_t now) const {
    return !hadCycles_ && arrival(cycle, now) <= startedAt_ + TapTimeAxis::kIdleMargin && isSilent(cycle);
}

/// So is the last cycle before an output goes. It must not stand between the sound and its fade-out, so it is held
/// back until it is clear whether sound follows.
bool TapReceiver::mayBelongToEnd(const TapFifo::Cycle& cycle) {
    if (!ending_ || !isSilent(cycle)) return false;
    const auto frames = static_cast<std::int64_t>(cycle.frames + cycle.lostBefore);
    axis_->advance(frames); // or it would find a gap before the sound that follows, and fill it once more
    heldBack_ += frames;
    return true;
}

void TapReceiver::deliverCycle(const TapFifo::Cycle& cycle, std::int64_t now) {
    if (belongsToStart(cycle, now) || mayBelongToEnd(cycle)) return fifo_.consume(cycle.frames);
    deliverSilence(std::exchange(heldBack_, 0));
    const bool isTimeTrusted =
        cycle.nanoseconds >= now - kTrustedNanoseconds && cycle.nanoseconds <= now + kTrustedNanoseconds;
    deliverSilence(gapBefore(cycle, isTimeTrusted));
    lastCycle_ = arrival(cycle, now);
    hadCycles_ = true;
    for (std::size_t left = cycle.frames; left > 0;) {
        const auto piece = std::min<std::size_t>(fifo_.contiguousFrames(), setup_.bufferFrames);
        deliverPiece(piece);
        left -= piece;
        fifo_.consume(piece); // the last piece gives the cycle's record up
    }
}

/// Silence that takes the place of what was not delivered, or was lost on the way; less what has been put in already.
std::int64_t TapReceiver::gapBefore(const TapFifo::Cycle& cycle, bool isTimeTrusted) {
    const auto lost = static_cast<std::int64_t>(cycle.lostBefore);
    if (!isTimeTrusted) {
        if (!std::exchange(doubted_, true)) {
            log_.warning("cycles come with the times of another clock; counting their frames instead");
        }
        axis_->advance(lost + cycle.frames);
        return lost;
    }
    const bool isContinuous = cycle.follows == TapFifo::Follows::directly && lost == 0;
    const auto silence = axis_->silenceBeforeCycle(cycle.nanoseconds, cycle.frames, isContinuous);
    if (silence > 0 && cycle.follows != TapFifo::Follows::afterPause && lost == 0) { // overruns are counted apart
        troubles_.gaps.fetch_add(1, std::memory_order_relaxed);
        troubles_.gapFrames.fetch_add(atTargetRate(static_cast<std::uint64_t>(silence)), std::memory_order_relaxed);
    }
    return silence;
}

void TapReceiver::deliverPiece(std::size_t frames) {
    if (mixdown_.isPassThrough()) return call(fifo_.data(0), fifo_.data(1), frames);
    for (std::size_t i = 0; i < pieces_.size(); ++i)
        pieces_[i] = fifo_.data(i);
    mixdown_.process(pieces_, mixedLeft_.data(), mixedRight_.data(), frames);
    call(mixedLeft_.data(), mixedRight_.data(), frames);
}

void TapReceiver::deliverSilence(std::int64_t frames) {
    // More than any ring buffer holds would only push out what it has pushed out already.
    frames = std::min(frames, static_cast<std::int64_t>(setup_.rate) * kLongestSilenceSeconds);
    while (frames > 0) {
        const auto piece = std::min<std::int64_t>(frames, setup_.bufferFrames);
        call(silence_.data(), silence_.data(), static_cast<std::size_t>(piece));
        frames -= piece;
    }
}

void TapReceiver::call(const float* left, const float* right, std::size_t frames) {
    const auto bytes = static_cast<std::uint32_t>(frames * sizeof(float));
    const std::array<AudioBuffer, 2> buffers{{{1, bytes, left}, {1, bytes, right}}};
    proc_(buffers);
}

std::uint64_t TapReceiver::atTargetRate(std::uint64_t frames) const {
    return static_cast<std::uint64_t>(static_cast<double>(frames) * 48'000 / setup_.rate);
}

void TapReceiver::reportTroubles() {
    const auto overruns = fifo_.overruns();
    if (overruns == overrunsSeen_) return;
    const auto frames = fifo_.overrunFrames();
    troubles_.overruns.fetch_add(overruns - overrunsSeen_, std::memory_order_relaxed);
    troubles_.overrunFrames.fetch_add(atTargetRate(frames - overrunFramesSeen_), std::memory_order_relaxed);
    log_.warning("capture overrun: " + std::to_string(frames - overrunFramesSeen_) + " frames replaced by silence");
    overrunsSeen_ = overruns;
    overrunFramesSeen_ = frames;
}

void TapReceiver::checkStall(std::int64_t now) {
    if (reported_) return;
    if (const double rate = otherRate_.load(std::memory_order_relaxed); rate != 0) {
        reported_ = true;
        return handlers_.onFormatChanged(rate);
    }
    const auto runningSince = sinkRunningSince_.load(std::memory_order_relaxed);
    if (runningSince == 0 || now - std::max(runningSince, lastCycle_) < kStallNanoseconds) return;
    reported_ = true;
    handlers_.onStalled(hadCycles_);
}

void TapReceiver::setTimer(std::chrono::nanoseconds now, bool idle) {
    const bool live = pace_.load(std::memory_order_relaxed) == DeliveryPace::live;
    // While there is sound to show, the audio thread wakes us, and the timer only watches for its end.
    const auto due = now + (live ? (idle ? 20ms : 250ms) : (idle ? 1000ms : 500ms));
    if (timerDue_ && *timerDue_ <= due) return; // soon enough; setting it anew each time costs more than the sound
    timerDue_ = due;
    timer_->set(due - now);
}

// Any thread

void TapReceiver::setSinkRunning(bool running) {
    sinkRunningSince_.store(running ? clock_.uptime().count() : 0, std::memory_order_relaxed);
}

// Audio thread

bool TapReceiver::receive(const CycleTime& time, std::span<const float* const> channels) noexcept {
    if (muted_.load(std::memory_order_relaxed)) return false;
    if (time.frames == 0) return false;
    if (time.rate != setup_.rate) {
        return otherRate_.exchange(time.rate, std::memory_order_relaxed) == 0 && askOnce();
    }
    auto follows = time.position == nextPosition_ ? TapFifo::Follows::directly : TapFifo::Follows::afterBreak;
    if (paused_.load(std::memory_order_relaxed) && paused_.exchange(false, std::memory_order_relaxed)) {
        follows = TapFifo::Follows::afterPause;
    }
    nextPosition_ = time.position + time.frames;
    fifo_.write({time.nanoseconds, time.frames, 0, follows}, channels);
    return isDue() && askOnce();
}

bool TapReceiver::isDue() const noexcept {
    const bool live = pace_.load(std::memory_order_relaxed) == DeliveryPace::live;
    return fifo_.waitingFrames() >= (live ? kLiveWakeFrames : fifo_.capacityFrames() / 2);
}

/// Saves a system call while a wake-up is on its way.
bool TapReceiver::askOnce() noexcept {
    return !asked_.exchange(true, std::memory_order_acq_rel);
}

} // namespace rewindle
