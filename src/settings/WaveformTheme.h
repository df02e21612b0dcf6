#pragma once

#include "base/Color.h"
#include "settings/NightfallFlavor.h"
#include "settings/NightfallWaveformAccent.h"

namespace rewindle {

/// The colours of the waveform, the level meter and their renderers.
struct WaveformTheme {
    Color backgroundBase, background, backgroundGradientStart;
    Color waveformTop, waveformBottom, glow;
    Color head, headFrozen;
    Color selectionFill, selectionStroke, playhead;
    Color meterStripBackground, meterSeparator, meterTrack, meterLabel, meterScale, meterReadout, meterHold;
    Color meterLow, meterMid, meterHigh;
    friend bool operator==(const WaveformTheme&, const WaveformTheme&) = default;

    [[nodiscard]] static WaveformTheme of(NightfallFlavor flavor, NightfallWaveformAccent accent);
};

} // namespace rewindle
