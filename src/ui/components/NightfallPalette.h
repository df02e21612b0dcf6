#pragma once

#include "settings/NightfallFlavor.h"
#include "settings/NightfallTokens.h"
#include "settings/NightfallWaveformAccent.h"

#include <QColor>

namespace rewindle {

[[nodiscard]] QColor toQColor(const Color& color);
/// How well one opaque colour can be told from another: 1 (not at all) to 21 (black and white). Text wants 4.5.
[[nodiscard]] double contrastRatio(const Color& a, const Color& b);

/// What the colours of a flavour and an accent are used for. Text colours can be read on `window`, `card` and
/// `control` alike; each colour named on... can be read on the fill it is named after.
struct NightfallPalette {
    QColor window;  // behind everything
    QColor card;    // surfaces that hold what belongs together
    QColor control; // fills of quiet controls, and tracks
    QColor controlHover, controlPressed;
    QColor hairline; // separators, edges of cards
    QColor outline;  // edges of controls that would not be seen otherwise
    QColor text, textSecondary, textDisabled;
    QColor accent, accentHover, accentPressed, onAccent;
    QColor accentText; // links
    QColor focusRing;
    QColor danger, dangerText, dangerSurface;
    QColor success, warning; // marks, not text
    QColor scrim;            // over a window that waits for an answer

    [[nodiscard]] static NightfallPalette of(NightfallFlavor flavor, NightfallWaveformAccent accent);
};

} // namespace rewindle
