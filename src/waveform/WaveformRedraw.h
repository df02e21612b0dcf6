#pragma once

#include "base/Geometry.h"

#include <limits>

namespace rewindle {

/// What a picture of the waveform depends on, of all that moves by itself.
struct WaveformDrawnState {
    static constexpr double kNone = std::numeric_limits<double>::quiet_NaN();

    double viewStart = kNone; // none: nothing has been drawn, or the next picture is to be a new one
    double head = kNone;
    double multiplier = kNone;
    Size size{-1, -1};
    bool frozen = false;
    double playbackCursor = kNone;
    double insertMarker = kNone;
    bool cursorBlinkVisible = false;
    bool followLive = false;      // looked at in the present state only
    bool auditionPlaying = false; // so does this
};

/// Whether a view in the state `now` looks different from when it was drawn.
[[nodiscard]] bool needsRedraw(const WaveformDrawnState& drawn, const WaveformDrawnState& now);

/// The movement of the view start, in frames, from which on it can be seen.
[[nodiscard]] double visibleStartMovement(double multiplier);

/// Whether a point of the view shows another frame than when it was drawn.
[[nodiscard]] bool axisMoved(const WaveformDrawnState& drawn, const WaveformDrawnState& now);

} // namespace rewindle
