#pragma once

#include "base/Clock.h"
#include "base/Log.h"
#include "host/windows/QtRepeatingTimers.h"
#include "render/clock/FrameTimingLog.h"
#include "render/clock/WindowAnimationDriver.h"

namespace rewindle {

/// The frame clocks of this program's windows, with what they run on. The environment is read when it is made.
///
/// Threads: interface thread.
class FrameClocks {
public:
    explicit FrameClocks(LogSink& log);

    [[nodiscard]] const Clock& clock() const { return clock_; }
    [[nodiscard]] WindowAnimationDrivers& drivers() { return drivers_; }
    [[nodiscard]] FrameTimingLog& timingLog() { return timingLog_; }
    [[nodiscard]] std::optional<AnimationClockMode> forcedMode() const { return forcedMode_; }

private:
    SystemClock clock_;
    QtRepeatingTimers timers_;
    FrameTimingLog timingLog_;
    std::optional<AnimationClockMode> forcedMode_;
    WindowAnimationDrivers drivers_;
};

} // namespace rewindle
