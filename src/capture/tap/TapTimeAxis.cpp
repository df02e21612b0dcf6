#include "capture/tap/TapTimeAxis.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace rewindle {
namespace {

// Follows the sound card's own idea of its rate, within 100 ppm of the computer's, at a lag of a few
// milliseconds.
constexpr double kFollow = 0.001; // of the lag, each cycle

} // namespace

TapTimeAxis::TapTimeAxis(double rate, std::int64_t startNanoseconds)
    : nanosecondsPerFrame_(1e9 / rate), expected_(static_cast<double>(startNanoseconds)) {}

std::int64_t TapTimeAxis::silenceBeforeCycle(std::int64_t nanoseconds, std::uint32_t frames, bool isContinuous) {
    const auto begin = static_cast<double>(nanoseconds);
    if (!std::exchange(begun_, true)) expected_ = begin;
    const auto tolerance = static_cast<double>(isContinuous ? kStallTolerance : kTolerance);
    const double gap = begin - expected_;
    std::int64_t silence = 0;
    if (gap > tolerance) {
        silence = take(gap);
        expected_ = begin;
    } else if (gap < -static_cast<double>(kTolerance)) {
        ahead_ -= gap; // what should be here has been filled already
        expected_ = begin;
    } else if (isContinuous) {
        expected_ += kFollow * gap;
    } // else a break too short to tell from jitter: it counts together with the next
    expected_ += frames * nanosecondsPerFrame_;
    return silence;
}

std::int64_t TapTimeAxis::silenceWhileIdle(std::int64_t nanoseconds) {
    const double gap = static_cast<double>(nanoseconds - kIdleMargin) - expected_;
    if (gap <= 0) return 0;
    begun_ = true;
    return take(gap);
}

void TapTimeAxis::advance(std::int64_t frames) {
    expected_ += static_cast<double>(frames) * nanosecondsPerFrame_;
}

std::int64_t TapTimeAxis::take(double gapNanoseconds) {
    const double owed = std::min(ahead_, gapNanoseconds);
    ahead_ -= owed;
    const auto frames = static_cast<std::int64_t>(std::floor((gapNanoseconds - owed) / nanosecondsPerFrame_));
    expected_ += owed + static_cast<double>(frames) * nanosecondsPerFrame_;
    return frames;
}

} // namespace rewindle
