#include "waveform/WaveformRedraw.h"

#include <algorithm>
#include <cmath>

namespace rewindle {
namespace {

constexpr double kVisibleZoomChange = 0.0001;
constexpr double kVisibleLiveMovement = 0.001; // frames
constexpr double kVisibleMarkMovement = 0.5;   // frames

double visibleHeadMovement(double multiplier) {
    return std::clamp(0.5 / multiplier, 0.05, 0.5);
}

bool zoomChanged(const WaveformDrawnState& drawn, const WaveformDrawnState& now) {
    return std::abs(now.multiplier - drawn.multiplier) > kVisibleZoomChange;
}

bool markMoved(double drawn, double now) {
    if (std::isnan(drawn) || std::isnan(now)) return std::isnan(drawn) != std::isnan(now);
    return std::abs(now - drawn) >= kVisibleMarkMovement;
}

} // namespace

double visibleStartMovement(double multiplier) {
    return std::clamp(0.1 / multiplier, 0.02, 0.1);
}

bool axisMoved(const WaveformDrawnState& drawn, const WaveformDrawnState& now) {
    if (std::isnan(drawn.viewStart)) return true;
    return std::abs(now.viewStart - drawn.viewStart) >= visibleStartMovement(now.multiplier) ||
           zoomChanged(drawn, now);
}

bool needsRedraw(const WaveformDrawnState& drawn, const WaveformDrawnState& now) {
    if (std::isnan(drawn.viewStart)) return true;
    if (now.size != drawn.size || now.frozen != drawn.frozen) return true;
    if (axisMoved(drawn, now)) return true;
    const double startMovement = std::abs(now.viewStart - drawn.viewStart);
    const double headMovement = std::abs(now.head - drawn.head);
    if (now.followLive && !now.frozen && std::max(startMovement, headMovement) > kVisibleLiveMovement) return true;
    return headMovement >= visibleHeadMovement(now.multiplier) || now.auditionPlaying ||
           markMoved(drawn.playbackCursor, now.playbackCursor) || markMoved(drawn.insertMarker, now.insertMarker) ||
           now.cursorBlinkVisible != drawn.cursorBlinkVisible;
}

} // namespace rewindle
