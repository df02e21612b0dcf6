#pragma once

#include "base/Clock.h"
#include "render/FrameTimingLog.h"
#include "render/WindowAnimationDriver.h"
#include "waveform/AuditionControl.h"
#include "waveform/CaptureFreeze.h"
#include "waveform/ClipOutlets.h"

#include <optional>

namespace rewindle {

/// What the live waveform works with, besides the session. All of it outlives the windows.
struct WaveformServices {
    const Clock& clock;
    WindowAnimationDrivers& drivers;
    FrameTimingLog& timingLog;
    CaptureFreeze& freeze;
    AuditionControl& audition;
    ClipSaver& saver;
    ClipPasteboard& pasteboard;
    ClipDragSource& dragSource;
    std::optional<AnimationClockMode> forcedClockMode; // whatever the user does
};

} // namespace rewindle
