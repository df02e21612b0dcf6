#pragma once

#include "settings/WaveformTheme.h"

#include <QImage>

#include <vector>

namespace rewindle {

/// What the waveform is seen against: from one colour of the theme to another, and the line of silence.
class WaveformBackdrop {
public:
    /// Covers the whole image, which shows `scale` pixels per point.
    void paint(QImage& image, const WaveformTheme& theme, double scale);

private:
    void prepare(int height, const WaveformTheme& theme, double scale);

    WaveformTheme theme_;
    double scale_ = 0;
    std::vector<QRgb> rows_;
};

} // namespace rewindle
