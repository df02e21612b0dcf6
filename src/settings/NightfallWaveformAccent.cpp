#include "settings/NightfallWaveformAccent.h"

#include <algorithm>

namespace rewindle {

std::string_view rawValue(NightfallWaveformAccent accent) {
    switch (accent) {
    case NightfallWaveformAccent::mauve: return "mauve";
    case NightfallWaveformAccent::blue: return "blue";
    case NightfallWaveformAccent::teal: return "teal";
    case NightfallWaveformAccent::peach: return "peach";
    }
    return "";
}

std::optional<NightfallWaveformAccent> nightfallWaveformAccentFromRawValue(std::string_view text) {
    const auto* const found = std::ranges::find(kAllNightfallWaveformAccents, text,
                                                [](NightfallWaveformAccent accent) { return rawValue(accent); });
    return found == kAllNightfallWaveformAccents.end() ? std::nullopt : std::optional(*found);
}

} // namespace rewindle
