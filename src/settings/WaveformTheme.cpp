#include "settings/WaveformTheme.h"

#include "settings/NightfallTokens.h"

namespace rewindle {
namespace {

struct AccentColors {
    Color primary;
    Color secondary;
};

/// The primary is not always the token that gave the accent its name: "mauve" runs from pink to mauve.
AccentColors accentColors(const NightfallTokens& tokens, NightfallWaveformAccent accent) {
    switch (accent) {
    case NightfallWaveformAccent::mauve: return {tokens.pink, tokens.mauve};
    case NightfallWaveformAccent::blue: return {tokens.blue, tokens.sky};
    case NightfallWaveformAccent::teal: return {tokens.teal, tokens.green};
    case NightfallWaveformAccent::peach: return {tokens.peach, tokens.red};
    }
    return {};
}

} // namespace

WaveformTheme WaveformTheme::of(NightfallFlavor flavor, NightfallWaveformAccent accent) {
    const auto tokens = NightfallTokens::of(flavor);
    const auto [primary, secondary] = accentColors(tokens, accent);
    const bool dark = isDark(flavor);
    return {
        .backgroundBase = tokens.base,
        .background = dark ? tokens.base.blended(0.18, tokens.surface0) : tokens.base.blended(0.10, tokens.mauve),
        .backgroundGradientStart = dark ? tokens.base : tokens.base.blended(0.05, tokens.peach),
        .waveformTop = primary,
        .waveformBottom = secondary,
        .glow = secondary,
        .head = tokens.red,
        .headFrozen = tokens.yellow,
        .selectionFill = tokens.text.withAlpha(0.16),
        .selectionStroke = tokens.text.withAlpha(0.8),
        .playhead = tokens.text.withAlpha(0.55),
        .meterStripBackground = tokens.mantle,
        .meterSeparator = tokens.surface1,
        .meterTrack = tokens.surface0,
        .meterLabel = tokens.subtext0,
        .meterScale = dark ? tokens.subtext0 : tokens.subtext1,
        .meterReadout = tokens.text,
        .meterHold = tokens.text.withAlpha(0.72),
        .meterLow = tokens.teal,
        .meterMid = tokens.peach,
        .meterHigh = tokens.red,
    };
}

} // namespace rewindle
