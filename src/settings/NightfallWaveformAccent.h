#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace rewindle {

/// The colour pair of the waveform.
enum class NightfallWaveformAccent : std::uint8_t { mauve, blue, teal, peach };

inline constexpr std::array kAllNightfallWaveformAccents{NightfallWaveformAccent::mauve,
                                                         NightfallWaveformAccent::blue, NightfallWaveformAccent::teal,
                                                         NightfallWaveformAccent::peach};

/// What is stored: "teal".
[[nodiscard]] std::string_view rawValue(NightfallWaveformAccent accent);
[[nodiscard]] std::optional<NightfallWaveformAccent> nightfallWaveformAccentFromRawValue(std::string_view text);

} // namespace rewindle
