#pragma once

#include "base/Clock.h"
#include "host/drawing/QtWaveformSurface.h"
#include "render/clock/FrameTimingLog.h"
#include "render/clock/WindowAnimationDriver.h"
#include "waveform/AuditionControl.h"
#include "waveform/CaptureFreeze.h"
#include "waveform/ClipOutlets.h"

#include <functional>
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
    /// What the GPU draws on; empty: the waveform is drawn in two dimensions.
    std::function<QtWaveformSurface*(QWidget* parent)> makeSurface = {};
};

} // namespace rewindle
