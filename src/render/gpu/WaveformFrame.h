#pragma once

#include "base/Color.h"
#include "base/Geometry.h"

#include <cstdint>
#include <vector>

namespace rewindle {

/// A solid rectangle over the waveform.
struct WaveformOverlayQuad {
    Rect rect;   // points
    Color color; // straight alpha
    friend bool operator==(const WaveformOverlayQuad&, const WaveformOverlayQuad&) = default;
};

/// All that is needed to draw one picture of the waveform, besides the columns' minima and maxima.
/// Units: points, but for `fractionPoints`, which counts columns.
struct WaveformFrame {
    Size viewport;
    std::int64_t columnCount = 0;
    double columnStride = 0;   // points per column
    double fractionPoints = 0; // all columns are shifted left by that many strides, 0 <= value < 1
    double midY = 0;           // the zero line
    double amplitudeScale = 0; // points per unit of amplitude
    bool useGradient = false;  // else `flatColor`
    Point gradStart, gradEnd;
    Color gradColor0, gradColor1; // at `gradStart`, at `gradEnd`
    Color flatColor;
    std::vector<WaveformOverlayQuad> overlays; // drawn in this order, over the waveform
};

} // namespace rewindle
