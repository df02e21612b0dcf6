#include "program/FrameClocks.h"

#include "platform/widgets/X11DisplayRefresh.h"

#include <cstdlib>

namespace rewindle {
namespace {

const char* environment(const char* name) {
    return std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing here writes the environment
}

} // namespace

FrameClocks::FrameClocks(LogSink& log)
    : timingLog_(FrameTimingOptions::fromEnvironment(environment("REWINDLE_FRAME_DIAG"),
                                                     environment("REWINDLE_FRAME_DIAG_VSYNC")),
                 clock_, followX11DisplayRefresh),
      forcedMode_(forcedClockMode(environment("REWINDLE_CLOCK"))), drivers_({clock_, timers_, timingLog_, log}) {}

} // namespace rewindle
