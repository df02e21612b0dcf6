#include "render/clock/ClockConfiguration.h"

#include <algorithm>
#include <string>

namespace rewindle {
namespace {

constexpr double kInteractionSeconds = 1.0;

char lowerCased(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

} // namespace

std::optional<AnimationClockMode> forcedClockMode(const char* environmentValue) {
    std::string value = environmentValue != nullptr ? environmentValue : "";
    std::ranges::transform(value, value.begin(), lowerCased);
    if (value == "steady") return AnimationClockMode::steady;
    if (value == "vsync") return AnimationClockMode::vsync;
    return std::nullopt;
}

AnimationClockMode waveformClockMode(std::optional<AnimationClockMode> forced,
                                     std::optional<double> lastInteractionUptime, double now) {
    if (forced) return *forced;
    const double last = lastInteractionUptime.value_or(0);
    return last > 0 && now < last + kInteractionSeconds ? AnimationClockMode::vsync : AnimationClockMode::steady;
}

} // namespace rewindle
