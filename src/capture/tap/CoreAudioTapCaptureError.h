#pragma once

#include "platform/AudioHardware.h"

#include <string>

namespace rewindle {

/// Why capture could not be started. `status` is the sound server's, without meaning for formatUnavailable.
struct CoreAudioTapCaptureError {
    enum class Kind {
        tapCreationFailed,
        aggregateDeviceCreationFailed,
        ioProcCreationFailed,
        deviceStartFailed,
        propertyReadFailed,
        formatUnavailable,
    };
    Kind kind;
    AudioStatus status = 0;
    /// One line for people.
    [[nodiscard]] std::string message() const;
    friend bool operator==(const CoreAudioTapCaptureError&, const CoreAudioTapCaptureError&) = default;
};

} // namespace rewindle
