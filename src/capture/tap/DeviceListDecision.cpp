#include "capture/tap/DeviceListDecision.h"

#include <algorithm>

namespace rewindle {
namespace {

const char* text(bool value) {
    return value ? "true" : "false";
}

} // namespace

DeviceListDecision DeviceListDecision::make(const RouteSnapshot& route) {
    DeviceListDecision decision;
    decision.defaultDeviceChanged = route.defaultDevice != route.activeDevice;
    decision.activeDeviceDisconnected =
        !route.devices || std::ranges::find(*route.devices, route.activeDevice) == route.devices->end();
    // A device without data sources has no listener; that alone is no change.
    decision.listenerDeviceChanged =
        route.previousListenerDevice != kNoAudioObject && route.defaultDevice != route.previousListenerDevice;
    return decision;
}

std::optional<std::string> DeviceListDecision::restartReason() const {
    if (activeDeviceDisconnected) return "active output device disconnected";
    if (defaultDeviceChanged || listenerDeviceChanged) return "audio hardware devices changed";
    return std::nullopt;
}

std::string DeviceListDecision::logLine(const RouteSnapshot& route) const {
    const auto currentDefault = route.defaultDevice ? std::to_string(*route.defaultDevice) : "unavailable";
    return "[route] hardwareDevices decision: previousActiveDevice=" + std::to_string(route.activeDevice) +
           " currentDefault=" + currentDefault + " defaultDeviceChanged=" + text(defaultDeviceChanged) +
           " activeDeviceDisconnected=" + text(activeDeviceDisconnected) +
           " previousListenerDevice=" + std::to_string(route.previousListenerDevice) +
           " currentListenerDevice=" + std::to_string(route.currentListenerDevice) +
           " listenerDeviceChanged=" + text(listenerDeviceChanged);
}

} // namespace rewindle
