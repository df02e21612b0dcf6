#pragma once

#include "settings/WaveformTheme.h"

#include <QRgb>

#include <span>
#include <vector>

namespace rewindle {

/// What the waveform is seen against: from one colour of the theme to another, and the line of silence.
class WaveformBackdrop {
public:
    /// The colour of each row of a picture that shows `scale` pixels per point; opaque. They stay until the next call.
    std::span<const QRgb> rows(int height, const WaveformTheme& theme, double scale);

private:
    WaveformTheme theme_;
    double scale_ = 0;
    std::vector<QRgb> rows_;
};

} // namespace rewindle
