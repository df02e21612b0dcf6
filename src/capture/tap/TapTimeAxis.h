#pragma once

#include <cstdint>

namespace rewindle {

/// Keeps the recording's time axis true: says where silence belongs so that frames count time.
///
/// A tap delivers nothing while its sink is suspended, and a graph under load skips cycles. What was not
/// delivered was silence to the listener, and takes its place in the recording.
///
/// Units:   frames of the tap's rate; nanoseconds of the monotonic clock.
/// Threads: the capture thread only.
class TapTimeAxis {
public:
    /// The axis begins with the first cycle; at `startNanoseconds` when none comes soon. So what is heard
    /// right after a start follows what was heard before, without silence between. Requires: rate > 0.
    TapTimeAxis(double rate, std::int64_t startNanoseconds);

    /// Frames of silence that belong before a cycle of `frames` that begins at `nanoseconds`. A cycle that
    /// continues the one before belongs to the same sound: only a long stall, never a late cycle, may part
    /// the two.
    [[nodiscard]] std::int64_t silenceBeforeCycle(std::int64_t nanoseconds, std::uint32_t frames, bool isContinuous);
    /// Frames of silence due at `nanoseconds` while no cycles come. Stays behind the clock by `kIdleMargin`,
    /// so that a cycle which is still on its way finds its place free.
    [[nodiscard]] std::int64_t silenceWhileIdle(std::int64_t nanoseconds);
    /// Silence was put in for other reasons (frames lost on the way).
    void advance(std::int64_t frames);

    /// A shorter gap is jitter of the clock that stamps cycles, and filled with nothing.
    static constexpr std::int64_t kTolerance = 5'000'000;
    /// The same between cycles that continue each other: an overloaded computer runs them late, then catches
    /// up.
    static constexpr std::int64_t kStallTolerance = 500'000'000;
    static constexpr std::int64_t kIdleMargin = 200'000'000;

private:
    [[nodiscard]] std::int64_t take(double gapNanoseconds);

    const double nanosecondsPerFrame_;
    double expected_; // time of the next frame; before the axis begins, its start
    bool begun_ = false;
    double ahead_ = 0; // nanoseconds by which the axis ran ahead of the cycles; taken off later gaps
};

} // namespace rewindle
