#include "capture/tap/DeviceListDecision.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

namespace rewindle::test {
namespace {

constexpr const char* kDisconnected = "active output device disconnected";
constexpr const char* kChanged = "audio hardware devices changed";

TEST(DeviceListDecisionTest, RestartsWhenTheActiveDeviceOrTheDefaultOrTheListenersDeviceMoved) {
    const std::vector<AudioObjectID> both{5, 6}, more{5, 6, 7}, onlyOther{6}, onlyActive{5};
    constexpr std::optional<AudioObjectID> none;
    const struct {
        const char* event;
        AudioObjectID active;
        std::optional<AudioObjectID> defaultDevice;
        const std::vector<AudioObjectID>* devices; // null when the sound server is gone
        AudioObjectID previousListener, currentListener;
        const char* reason; // null for no restart
    } cases[] = {
        {"nothing moved", 5, 5, &both, 5, 5, nullptr},
        {"an unrelated device came", 5, 5, &more, 5, 5, nullptr},
        {"the same, on a device without data sources", 5, 5, &more, 0, 0, nullptr},
        {"the listener is attached for the first time", 5, 5, &both, 0, 5, nullptr},
        {"another default", 5, 6, &both, 0, 6, kChanged},
        {"only the listener was on another device", 6, 6, &both, 5, 6, kChanged},
        {"the active device went, nothing took its place", 5, 5, &onlyOther, 5, 5, kDisconnected},
        {"the active device went, another is the default", 5, 6, &onlyOther, 5, 6, kDisconnected},
        {"there is no default any more", 5, none, &onlyActive, 5, 5, kChanged},
        {"the sound server is gone", 5, none, nullptr, 5, 5, kDisconnected},
    };
    for (const auto& [event, active, defaultDevice, devices, previous, current, reason] : cases) {
        RouteSnapshot route{active, defaultDevice, std::nullopt, previous, current};
        if (devices) route.devices = *devices;
        EXPECT_EQ(DeviceListDecision::make(route).restartReason().value_or("none"), reason ? reason : "none")
            << event;
    }
}

TEST(DeviceListDecisionTest, TellsTheLogWhatItWentBy) {
    const RouteSnapshot route{5, std::nullopt, std::vector<AudioObjectID>{6}, 5, 0};
    EXPECT_EQ(DeviceListDecision::make(route).logLine(route),
              "[route] hardwareDevices decision: previousActiveDevice=5 currentDefault=unavailable "
              "defaultDeviceChanged=true activeDeviceDisconnected=true previousListenerDevice=5 "
              "currentListenerDevice=0 listenerDeviceChanged=true");
}

} // namespace
} // namespace rewindle::test
