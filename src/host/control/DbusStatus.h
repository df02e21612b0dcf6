#pragma once

#include "app/CaptureControl.h"

#include <QVariantMap>

namespace rewindle {

// How the service and its clients call each other.
inline constexpr auto kControlBusName = "com.rewindle.Rewindle";
inline constexpr auto kControlObjectPath = "/com/rewindle/Rewindle";
inline constexpr auto kControlInterface = "com.rewindle.Rewindle1";
inline constexpr auto kControlFailedError = "com.rewindle.Error.Failed";
inline constexpr auto kControlInvalidArgumentError = "com.rewindle.Error.InvalidArgument";

// How a second start of this program tells itself from a desktop, in the platform data of Activate.
inline constexpr auto kCallerKey = "com.rewindle.caller";
inline constexpr auto kCallerStarts = "start";
inline constexpr auto kCallerLooks = "look"; // only asks who runs
inline constexpr auto kNoWindowError = "com.rewindle.Error.NoWindow";

/// The a{sv} that the Status method returns. Its keys are added to, never renamed.
[[nodiscard]] QVariantMap toVariantMap(const CaptureStatus& status);
/// The way back. A key that is missing, because another version sent the map, leaves the field as it is.
[[nodiscard]] CaptureStatus toCaptureStatus(const QVariantMap& map);

} // namespace rewindle
