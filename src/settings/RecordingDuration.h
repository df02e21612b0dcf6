#pragma once

#include <array>
#include <optional>
#include <string_view>

namespace rewindle {

/// The retained lengths of audio that a user can choose; the raw value is in seconds.
enum class RecordingDuration : int {
    thirtySeconds = 30,
    fortyFiveSeconds = 45,
    oneMinute = 60,
    twoMinutes = 120,
    threeMinutes = 180,
    fiveMinutes = 300,
    tenMinutes = 600,
};

inline constexpr std::array kAllRecordingDurations{
    RecordingDuration::thirtySeconds, RecordingDuration::fortyFiveSeconds, RecordingDuration::oneMinute,
    RecordingDuration::twoMinutes,    RecordingDuration::threeMinutes,     RecordingDuration::fiveMinutes,
    RecordingDuration::tenMinutes};
constexpr RecordingDuration kDefaultRecordingDuration = RecordingDuration::fiveMinutes;

[[nodiscard]] constexpr int seconds(RecordingDuration duration) {
    return static_cast<int>(duration);
}
/// The duration of exactly that many seconds, if there is one.
[[nodiscard]] std::optional<RecordingDuration> recordingDurationFromSeconds(int seconds);
/// What people read: "45 seconds", "5 minutes".
[[nodiscard]] std::string_view label(RecordingDuration duration);

} // namespace rewindle
