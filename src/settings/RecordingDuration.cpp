#include "settings/RecordingDuration.h"

#include <algorithm>

namespace rewindle {

std::optional<RecordingDuration> recordingDurationFromSeconds(int seconds) {
    const auto duration = static_cast<RecordingDuration>(seconds);
    if (std::ranges::find(kAllRecordingDurations, duration) == kAllRecordingDurations.end()) return std::nullopt;
    return duration;
}

std::string_view label(RecordingDuration duration) {
    switch (duration) {
    case RecordingDuration::thirtySeconds: return "30 seconds";
    case RecordingDuration::fortyFiveSeconds: return "45 seconds";
    case RecordingDuration::oneMinute: return "1 minute";
    case RecordingDuration::twoMinutes: return "2 minutes";
    case RecordingDuration::threeMinutes: return "3 minutes";
    case RecordingDuration::fiveMinutes: return "5 minutes";
    case RecordingDuration::tenMinutes: return "10 minutes";
    }
    return "";
}

} // namespace rewindle
