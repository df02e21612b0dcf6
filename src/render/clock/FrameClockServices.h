#pragma once

#include "base/Clock.h"
#include "base/Log.h"
#include "platform/RepeatingTimer.h"
#include "render/clock/FrameTimingLog.h"

namespace rewindle {

/// What every frame clock needs. All of it outlives the clocks.
struct FrameClockServices {
    const Clock& clock;
    RepeatingTimers& timers;
    FrameTimingLog& timingLog;
    LogSink& logSink;
};

} // namespace rewindle
