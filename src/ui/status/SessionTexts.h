#pragma once

#include "app/CaptureControl.h"
#include "settings/RecordingDuration.h"

#include <QString>

namespace rewindle {

/// How capture is doing, as far as the user cares.
enum class ListeningState { listening, waiting, frozen, stopped };
/// `isWanted`: capture was started and not stopped, whether or not it has an output.
[[nodiscard]] ListeningState listeningState(const CaptureStatus& status, bool isWanted);
/// "Listening to Speakers".
[[nodiscard]] QString listeningText(ListeningState state, const CaptureStatus& status);

/// "3:05" of seconds, rounded down.
[[nodiscard]] QString clockText(double seconds);
/// "3:05 of the last 5 minutes in memory", or "Keeping the last 5 minutes in memory" once there is as much.
[[nodiscard]] QString keepingText(const CaptureStatus& status);
[[nodiscard]] QString fromUtf8(std::string_view text);
/// The text in the words of this desktop.
[[nodiscard]] QString inWords(std::string_view text);

} // namespace rewindle
