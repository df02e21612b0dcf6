#include "program/FrameClocks.h"

#include "host/windows/X11DisplayRefresh.h"
#include "program/Environment.h"

namespace rewindle {

FrameClocks::FrameClocks(LogSink& log)
    : timingLog_(FrameTimingOptions::fromEnvironment(environmentVariable("REWINDLE_FRAME_DIAG"),
                                                     environmentVariable("REWINDLE_FRAME_DIAG_VSYNC")),
                 clock_, followX11DisplayRefresh),
      forcedMode_(forcedClockMode(environmentVariable("REWINDLE_CLOCK"))),
      drivers_({clock_, timers_, timingLog_, log}) {}

} // namespace rewindle
