#include "settings/NightfallFlavor.h"

#include <algorithm>

namespace rewindle {

std::string_view rawValue(NightfallFlavor flavor) {
    switch (flavor) {
    case NightfallFlavor::daybreak: return "daybreak";
    case NightfallFlavor::dusk: return "dusk";
    case NightfallFlavor::midnight: return "midnight";
    case NightfallFlavor::eclipse: return "eclipse";
    }
    return "";
}

std::optional<NightfallFlavor> nightfallFlavorFromRawValue(std::string_view text) {
    const auto* const found =
        std::ranges::find(kAllNightfallFlavors, text, [](NightfallFlavor flavor) { return rawValue(flavor); });
    return found == kAllNightfallFlavors.end() ? std::nullopt : std::optional(*found);
}

std::string_view displayName(NightfallFlavor flavor) {
    switch (flavor) {
    case NightfallFlavor::daybreak: return "Daybreak";
    case NightfallFlavor::dusk: return "Dusk";
    case NightfallFlavor::midnight: return "Midnight";
    case NightfallFlavor::eclipse: return "Eclipse";
    }
    return "";
}

} // namespace rewindle
