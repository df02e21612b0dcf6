#pragma once

#include "base/Color.h"
#include "settings/NightfallFlavor.h"

namespace rewindle {

/// A flavour's palette.
struct NightfallTokens {
    Color rosewater, flamingo, pink, mauve, red, maroon, peach, yellow, green, teal, sky, sapphire, blue, lavender;
    Color crust, mantle, base, surface0, surface1, surface2, overlay0, overlay1, overlay2, subtext0, subtext1, text;
    friend bool operator==(const NightfallTokens&, const NightfallTokens&) = default;

    [[nodiscard]] static NightfallTokens of(NightfallFlavor flavor);
};

} // namespace rewindle
