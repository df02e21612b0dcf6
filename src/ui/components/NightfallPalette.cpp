#include "ui/components/NightfallPalette.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>

namespace rewindle {
namespace {

constexpr double kTextContrast = 4.5, kMarkContrast = 3.0;

double linear(double component) {
    return component <= 0.04045 ? component / 12.92 : std::pow((component + 0.055) / 1.055, 2.4);
}

double luminance(const Color& color) {
    return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

/// `color`, moved towards `towards` only as far as it must be to stand out from each of `surfaces`.
Color distinct(const Color& color, const Color& towards, double contrast, std::initializer_list<Color> surfaces) {
    constexpr int kSteps = 40;
    for (int step = 0; step < kSteps; ++step) {
        const Color candidate = color.blended(static_cast<double>(step) / kSteps, towards);
        if (std::ranges::all_of(surfaces, [&](const Color& s) { return contrastRatio(candidate, s) >= contrast; }))
            return candidate;
    }
    return towards;
}

Color accentToken(const NightfallTokens& tokens, NightfallWaveformAccent accent) {
    switch (accent) {
    case NightfallWaveformAccent::mauve: return tokens.mauve;
    case NightfallWaveformAccent::blue: return tokens.blue;
    case NightfallWaveformAccent::teal: return tokens.teal;
    case NightfallWaveformAccent::peach: return tokens.peach;
    }
    return tokens.mauve;
}

} // namespace

QColor toQColor(const Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue), static_cast<float>(color.alpha));
}

double contrastRatio(const Color& a, const Color& b) {
    const auto [darker, lighter] = std::minmax({luminance(a), luminance(b)});
    return (lighter + 0.05) / (darker + 0.05);
}

NightfallPalette NightfallPalette::of(NightfallFlavor flavor, NightfallWaveformAccent accent) {
    const auto tokens = NightfallTokens::of(flavor);
    const bool dark = isDark(flavor);
    // In the dark a surface comes closer by getting lighter; in the light flavour the lightest token is nearest.
    const Color window = tokens.mantle;
    const Color card = dark ? tokens.base.blended(0.35, tokens.surface0) : tokens.base;
    const Color control =
        dark ? tokens.base.blended(0.85, tokens.surface0) : tokens.mantle.blended(0.35, tokens.surface0);
    const Color controlHover = control.blended(dark ? 0.5 : 0.6, dark ? tokens.surface1 : tokens.surface0);
    const Color controlPressed = control.blended(dark ? 0.9 : 0.5, tokens.surface1);

    const Color onAccent = dark ? tokens.crust : tokens.base;
    const Color accentFill = distinct(accentToken(tokens, accent), tokens.text, kTextContrast, {onAccent});
    const Color dangerSurface = card.blended(dark ? 0.16 : 0.10, tokens.red);
    const auto text = [&](const Color& color) {
        return toQColor(distinct(color, tokens.text, kTextContrast, {window, card, control}));
    };
    const auto mark = [&](const Color& color) {
        return toQColor(distinct(color, tokens.text, kMarkContrast, {window, card, control}));
    };

    NightfallPalette palette;
    palette.window = toQColor(window);
    palette.card = toQColor(card);
    palette.control = toQColor(control);
    palette.controlHover = toQColor(controlHover);
    palette.controlPressed = toQColor(controlPressed);
    palette.hairline = toQColor(card.blended(dark ? 0.55 : 0.8, tokens.surface0));
    palette.outline = mark(tokens.overlay2);
    palette.text = toQColor(tokens.text);
    palette.textSecondary = text(dark ? tokens.subtext0 : tokens.subtext1);
    palette.textDisabled = toQColor(tokens.overlay2);
    palette.accent = toQColor(accentFill);
    palette.accentHover = toQColor(accentFill.blended(0.10, tokens.text));
    palette.accentPressed = toQColor(accentFill.blended(0.20, tokens.text));
    palette.onAccent = toQColor(onAccent);
    palette.accentText = text(accentToken(tokens, accent));
    palette.focusRing = mark(accentToken(tokens, accent));
    palette.danger = toQColor(distinct(tokens.red, tokens.text, kMarkContrast, {window, card, dangerSurface}));
    palette.dangerText = text(tokens.red);
    palette.dangerSurface = toQColor(dangerSurface);
    palette.success = mark(tokens.green);
    palette.warning = mark(tokens.yellow);
    palette.scrim = toQColor(tokens.crust.withAlpha(dark ? 0.62 : 0.55));
    return palette;
}

} // namespace rewindle
