#pragma once

#include "platform/AudioHardware.h"

#include <optional>
#include <string>
#include <vector>

namespace rewindle {

/// What is known of the output route when the device list has changed.
struct RouteSnapshot {
    AudioObjectID activeDevice = kNoAudioObject;           // capture is bound to it
    std::optional<AudioObjectID> defaultDevice;            // none when it cannot be read
    std::optional<std::vector<AudioObjectID>> devices;     // none when the sound server cannot be reached
    AudioObjectID previousListenerDevice = kNoAudioObject; // had the data source listener before the change
    AudioObjectID currentListenerDevice = kNoAudioObject;  // has it now
};

/// Whether a changed device list concerns capture, and why.
struct DeviceListDecision {
    bool defaultDeviceChanged = false;
    bool activeDeviceDisconnected = false;
    bool listenerDeviceChanged = false;

    /// A sound server that is gone counts as one that has lost every device.
    [[nodiscard]] static DeviceListDecision make(const RouteSnapshot& route);

    /// The reason for a restart; none when nothing relevant moved.
    [[nodiscard]] std::optional<std::string> restartReason() const;
    /// The facts and the decision in one line for the log.
    [[nodiscard]] std::string logLine(const RouteSnapshot& route) const;
};

} // namespace rewindle
