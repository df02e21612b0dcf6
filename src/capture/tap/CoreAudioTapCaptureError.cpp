#include "capture/tap/CoreAudioTapCaptureError.h"

namespace rewindle {

std::string CoreAudioTapCaptureError::message() const {
    const auto failure = [this](const char* what) {
        return std::string(what) + " (error " + std::to_string(status) + ").";
    };
    switch (kind) {
    case Kind::tapCreationFailed: return failure("Failed to create system audio tap");
    case Kind::aggregateDeviceCreationFailed: return failure("Failed to create aggregate audio device");
    case Kind::ioProcCreationFailed: return failure("Failed to create audio capture callback");
    case Kind::deviceStartFailed: return failure("Failed to start system audio capture");
    case Kind::propertyReadFailed: return failure("Failed to read Core Audio property");
    case Kind::formatUnavailable: return "System audio format is unavailable.";
    }
    return {};
}

} // namespace rewindle
