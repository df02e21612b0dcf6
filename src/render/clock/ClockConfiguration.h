#pragma once

#include "render/clock/DisplayClockClient.h"

#include <optional>

namespace rewindle {

enum class ClockDrive { displayLink, timer };

/// How a frame clock runs.
struct ClockConfiguration {
    AnimationClockMode mode = AnimationClockMode::steady;
    ClockDrive drive = ClockDrive::timer;
    friend bool operator==(const ClockConfiguration&, const ClockConfiguration&) = default;
};

/// The mode that the value of REWINDLE_CLOCK (null when unset) forces on the waveform: "steady" or "vsync", in small
/// or capital letters; else none.
[[nodiscard]] std::optional<AnimationClockMode> forcedClockMode(const char* environmentValue);

/// The waveform's preferred mode: fast for a second after each interaction. `lastInteractionUptime` is the driver's,
/// in seconds, 0 before the first interaction, none without a driver.
[[nodiscard]] AnimationClockMode waveformClockMode(std::optional<AnimationClockMode> forced,
                                                   std::optional<double> lastInteractionUptime, double now);

} // namespace rewindle
