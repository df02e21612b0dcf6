#pragma once

#include "platform/DefaultsStore.h"

#include <optional>
#include <string>
#include <string_view>

namespace rewindle {

/// The gain trim that was chosen for each output device, by the device's UID.
///
/// Threads: any; `setGain` on one thread only.
class CaptureDeviceGainStore {
public:
    static constexpr std::string_view kStorageKey = "capture.gainByDeviceUID";
    /// Requires: `defaults` outlives this.
    explicit CaptureDeviceGainStore(DefaultsStore& defaults) : defaults_(defaults) {}

    /// In dB, within the limits of a gain trim; none for a device that has no entry.
    [[nodiscard]] std::optional<float> gain(const std::string& uid) const;
    /// Other devices' entries are kept.
    void setGain(float gainDB, const std::string& uid);

private:
    DefaultsStore& defaults_;
};

} // namespace rewindle
