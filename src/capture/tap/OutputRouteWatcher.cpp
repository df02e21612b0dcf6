#include "capture/tap/OutputRouteWatcher.h"

namespace rewindle {
namespace {

template <class T>
std::string textOr(const AudioResult<T>& result, const std::string& otherwise) {
    if (!result) return otherwise;
    if constexpr (std::is_same_v<T, std::string>) {
        return result.value();
    } else {
        return std::to_string(result.value());
    }
}

std::string joined(const std::vector<AudioObjectID>& devices) {
    std::string text;
    for (const auto device : devices)
        text += (text.empty() ? "" : ",") + std::to_string(device);
    return "[" + text + "]";
}

} // namespace

void OutputRouteWatcher::attach() {
    if (outputDeviceListener_ == 0) {
        outputDeviceListener_ = hardware_.addListener(kNoAudioObject, AudioProperty::defaultOutputDevice,
                                                      handlers_.onDefaultOutputDeviceChanged);
    }
    if (hardwareDevicesListener_ == 0) {
        hardwareDevicesListener_ =
            hardware_.addListener(kNoAudioObject, AudioProperty::hardwareDevices, handlers_.onHardwareDevicesChanged);
    }
}

void OutputRouteWatcher::detach() {
    remove(outputDeviceListener_);
    remove(hardwareDevicesListener_);
    removeDataSourceListener();
    unwatchTap();
    dataSourceUnsupportedDeviceID_ = kNoAudioObject;
}

void OutputRouteWatcher::refreshDataSourceListener() {
    const auto read = hardware_.defaultOutputDevice();
    if (!read) {
        // The devices that were known are gone, and what comes next may bear their numbers.
        removeDataSourceListener();
        dataSourceUnsupportedDeviceID_ = kNoAudioObject;
        return log_.info("[route] refreshDataSourceListener: failed to read default output device");
    }
    const auto device = read.value();
    const auto number = std::to_string(device);
    if (device == kNoAudioObject) {
        return log_.info("[route] skip data source listener attach: deviceID invalid (" + number + ")");
    }
    if (device == dataSourceListenerDeviceID_ || device == dataSourceUnsupportedDeviceID_) return;

    removeDataSourceListener(); // it belongs to a device that is no longer the default
    dataSourceUnsupportedDeviceID_ = kNoAudioObject;
    if (!hardware_.hasDataSource(device)) {
        dataSourceUnsupportedDeviceID_ = device;
        return log_.info("[route] skip data source listener attach: property absent on deviceID=" + number);
    }
    listenToDataSource(device);
    log_.info("[route] attached data source listener on deviceID=" + number);
}

void OutputRouteWatcher::listenToDataSource(AudioObjectID device) {
    outputDataSourceListener_ =
        hardware_.addListener(device, AudioProperty::outputDataSource,
                              [changed = handlers_.onOutputDataSourceChanged, device] { changed(device); });
    dataSourceListenerDeviceID_ = device;
}

void OutputRouteWatcher::removeDataSourceListener() {
    remove(outputDataSourceListener_);
    dataSourceListenerDeviceID_ = kNoAudioObject;
}

void OutputRouteWatcher::watchTap(AudioObjectID aggregateDevice) {
    unwatchTap();
    tapListener_ = hardware_.addListener(aggregateDevice, AudioProperty::tapInterrupted, handlers_.onTapInterrupted);
}

void OutputRouteWatcher::unwatchTap() {
    remove(tapListener_);
}

void OutputRouteWatcher::remove(AudioHardware::ListenerID& listener) {
    if (listener != 0) hardware_.removeListener(listener);
    listener = 0;
}

std::string OutputRouteWatcher::describe(const std::string& event, bool isRunning, AudioObjectID activeDevice) const {
    const auto device = hardware_.defaultOutputDevice();
    const auto devices = hardware_.devices();
    const std::vector<AudioObjectID> list = devices ? devices.value() : std::vector<AudioObjectID>{};
    const bool known = device && device.value() != kNoAudioObject;
    const bool hasSource = known && hardware_.hasDataSource(device.value());
    return "[route] " + event + " | isRunning=" + (isRunning ? "true" : "false") +
           " defaultDeviceID=" + textOr(device, "unavailable") +
           " defaultUID=" + (known ? textOr(hardware_.deviceUID(device.value()), "unavailable") : "unavailable") +
           " dataSource=" + (hasSource ? textOr(hardware_.dataSource(device.value()), "unavailable") : "none") +
           " activeOutputDeviceID=" + std::to_string(activeDevice) +
           " dataSourceListenerDeviceID=" + std::to_string(dataSourceListenerDeviceID_) +
           " hardwareDeviceCount=" + std::to_string(list.size()) + " hardwareDeviceIDs=" + joined(list);
}

} // namespace rewindle
