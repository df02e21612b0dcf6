#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace rewindle {

/// The palettes of the interface: one light, three dark.
enum class NightfallFlavor : std::uint8_t { daybreak, dusk, midnight, eclipse };

inline constexpr std::array kAllNightfallFlavors{NightfallFlavor::daybreak, NightfallFlavor::dusk,
                                                 NightfallFlavor::midnight, NightfallFlavor::eclipse};

/// What is stored: "dusk".
[[nodiscard]] std::string_view rawValue(NightfallFlavor flavor);
[[nodiscard]] std::optional<NightfallFlavor> nightfallFlavorFromRawValue(std::string_view text);
/// What people read: "Dusk".
[[nodiscard]] std::string_view displayName(NightfallFlavor flavor);
[[nodiscard]] constexpr bool isDark(NightfallFlavor flavor) {
    return flavor != NightfallFlavor::daybreak;
}

} // namespace rewindle
