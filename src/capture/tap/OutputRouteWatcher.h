#pragma once

#include "base/Log.h"
#include "platform/AudioHardware.h"

#include <functional>
#include <string>

namespace rewindle {

/// Watches what the computer plays on: the default output device, the device list, the default device's data
/// source (speakers, headphones), and the tap itself.
///
/// Threads: control queue only; the handlers are called there.
class OutputRouteWatcher {
public:
    struct Handlers {
        std::function<void()> onDefaultOutputDeviceChanged;
        std::function<void()> onHardwareDevicesChanged;
        std::function<void(AudioObjectID device)> onOutputDataSourceChanged;
        std::function<void()> onTapInterrupted;
    };

    OutputRouteWatcher(AudioHardware& hardware, const Log& log) : hardware_(hardware), log_(log) {}
    OutputRouteWatcher(const OutputRouteWatcher&) = delete;
    OutputRouteWatcher& operator=(const OutputRouteWatcher&) = delete;

    /// What is called from now on.
    void setHandlers(Handlers handlers) { handlers_ = std::move(handlers); }

    /// Listens to the default output device and the device list; once is enough.
    void attach();
    /// Ends every listener.
    void detach();

    /// Moves the data source listener to the default output device. A device without data sources is
    /// remembered and not asked again until another one is the default.
    void refreshDataSourceListener();
    /// The device that has the data source listener; none while the default device has no data sources.
    [[nodiscard]] AudioObjectID dataSourceListenerDevice() const { return dataSourceListenerDeviceID_; }

    void watchTap(AudioObjectID aggregateDevice);
    void unwatchTap();

    /// Everything there is to know about the route, after the text of the event; for the log.
    [[nodiscard]] std::string describe(const std::string& event, bool isRunning, AudioObjectID activeDevice) const;

private:
    void listenToDataSource(AudioObjectID device);
    void removeDataSourceListener();
    void remove(AudioHardware::ListenerID& listener);

    AudioHardware& hardware_;
    const Log& log_;
    Handlers handlers_;
    AudioHardware::ListenerID outputDeviceListener_ = 0;
    AudioHardware::ListenerID hardwareDevicesListener_ = 0;
    AudioHardware::ListenerID outputDataSourceListener_ = 0;
    AudioHardware::ListenerID tapListener_ = 0;
    AudioObjectID dataSourceListenerDeviceID_ = kNoAudioObject;
    AudioObjectID dataSourceUnsupportedDeviceID_ = kNoAudioObject;
};

} // namespace rewindle
