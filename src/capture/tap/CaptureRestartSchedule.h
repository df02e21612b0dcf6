#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <optional>

/// When capture is tried again.
namespace rewindle::CaptureRestartSchedule {

/// Route events come in bursts; those within this time of the last one cause one restart.
constexpr std::chrono::milliseconds kDebounce{80};
/// After the last retry has failed, and between tries of a first start.
constexpr std::chrono::seconds kRecoveryPause{3};
constexpr std::array<std::chrono::milliseconds, 5> kRetryPauses{
    std::chrono::milliseconds(150), std::chrono::milliseconds(350), std::chrono::milliseconds(750),
    std::chrono::milliseconds(1500), std::chrono::milliseconds(2000)};

/// The pause after failed attempt number `attempt`, counted from 0; none when that was the last of the
/// schedule.
[[nodiscard]] constexpr std::optional<std::chrono::milliseconds> pauseAfter(std::size_t attempt) {
    if (attempt >= kRetryPauses.size()) return std::nullopt;
    return kRetryPauses[attempt];
}

} // namespace rewindle::CaptureRestartSchedule
