#pragma once

#include "app/CaptureControl.h"

#include <string>
#include <string_view>

namespace rewindle {

/// A few lines for people, each ended by a line feed.
[[nodiscard]] std::string statusText(const CaptureStatus& status);

/// One JSON object on one line, ended by a line feed. Its keys are for other programs: they are added to,
/// never renamed. A number that JSON cannot say is null. Requires: texts in UTF-8.
[[nodiscard]] std::string statusJson(const CaptureStatus& status);

/// How a consent is called in texts and on the bus: "granted", "denied", "not asked" or "checking".
[[nodiscard]] std::string_view accessName(AudioCaptureAccessState access);

/// The text with every control character replaced by '?': it stays on one line and leaves a terminal alone.
[[nodiscard]] std::string oneLine(std::string_view text);

} // namespace rewindle
