#pragma once

#include "base/Clock.h"
#include "base/Log.h"
#include "host/pipewire/OutputRoute.h"
#include "host/pipewire/PipeWireConnection.h"
#include "host/pipewire/PipeWireLoopQueue.h"
#include "host/pipewire/TapDelivery.h"
#include "host/pipewire/TapNode.h"
#include "platform/AudioHardware.h"

#include <atomic>
#include <map>
#include <memory>

namespace rewindle {

/// `AudioHardware` on a PipeWire server, 0.3.65 or later.
///
/// A tap is a promise of a format; the aggregate device binds it to one sink; starting the device puts our
/// node into the graph. A client that is to be excluded is noted with the tap: nothing of this process plays
/// yet.
///
/// Threads: as `AudioHardware` says. Constructed and destroyed from a thread that is neither queue's.
/// Lifecycle: devices are destroyed before this is.
class PipeWireAudioHardware final : public AudioHardware {
public:
    /// I/O procedures run on `captureQueue`, whatever listens and everything else on `controlQueue`.
    /// `passiveness` is a tap's `node.passive`, where it is not to be chosen by the server's version.
    PipeWireAudioHardware(PipeWireLoopQueue& controlQueue, PipeWireLoopQueue& captureQueue, const Clock& clock,
                          LogSink& log, std::string passiveness = {});
    ~PipeWireAudioHardware() override;

    AudioResult<AudioObjectID> translateProcess(std::int64_t pid) override;
    AudioResult<AudioObjectID> createProcessTap(const ProcessTapDescription& description) override;
    void destroyProcessTap(AudioObjectID tap) override;
    AudioResult<StreamDescription> tapFormat(AudioObjectID tap) override;

    AudioResult<AudioObjectID> defaultOutputDevice() override;
    AudioResult<std::vector<AudioObjectID>> devices() override;
    AudioResult<std::string> deviceUID(AudioObjectID device) override;
    AudioResult<std::string> deviceDescription(AudioObjectID device) override;
    bool hasDataSource(AudioObjectID device) override;
    AudioResult<std::string> dataSource(AudioObjectID device) override;

    AudioResult<AudioObjectID> createAggregateDevice(const AggregateDeviceDescription& description) override;
    void destroyAggregateDevice(AudioObjectID device) override;
    AudioStatus setBufferFrameSize(AudioObjectID device, std::uint32_t frames) override;
    AudioResult<IoProcID> createIoProc(AudioObjectID device, SerialQueue& queue, IoProc proc) override;
    void destroyIoProc(AudioObjectID device, IoProcID proc) override;
    AudioResult<void> startDevice(AudioObjectID device) override;
    void stopDevice(AudioObjectID device) override;
    void deliverPending(AudioObjectID device) override;
    void setDeliveryPace(DeliveryPace pace) override;
    CaptureTroubles troubles() const override;

    ListenerID addListener(AudioObjectID object, AudioProperty property, Listener listener) override;
    void removeListener(ListenerID listener) override;

private:
    struct Tap {
        ProcessTapDescription description;
        double rate = 0;
    };
    struct Device {
        AggregateDeviceDescription description;
        double rate = 0;
        std::uint32_t bufferFrames = 2048;
        IoProcID procId = 0;
        IoProc proc;
        // While started; the last goes first
        std::unique_ptr<TapReceiver> receiver;
        std::unique_ptr<TapDelivery> delivery;
        std::unique_ptr<TapNode> node;
    };
    struct ListenerEntry {
        AudioObjectID object;
        AudioProperty property;
        Listener listener;
    };

    [[nodiscard]] std::string tapPassiveness() const;
    [[nodiscard]] std::optional<PipeWireGraph::ID> sinkWithUID(const std::string& uid) const;
    [[nodiscard]] std::vector<PipeWireGraph::Port> waitForMonitorPorts(PipeWireGraph::ID sink);
    [[nodiscard]] std::unique_ptr<TapReceiver> makeReceiver(AudioObjectID id, const Device& device,
                                                            const std::vector<PipeWireGraph::Port>& ports);
    OutputRoute* route(AudioObjectID device);
    PipeWireConnection::Handlers connectionHandlers();
    /// Calls the listeners of a property later, from the queue itself.
    void notify(AudioObjectID object, AudioProperty property);
    void handleRateChange();

    PipeWireLoopQueue& controlQueue_;
    PipeWireLoopQueue& captureQueue_;
    const Clock& clock_;
    LogSink& logSink_;
    const Log log_;
    const std::string passiveness_;
    std::atomic<DeliveryPace> pace_{DeliveryPace::relaxed};
    TroubleCounters troubles_;

    // Control queue only
    std::unique_ptr<PipeWireConnection> connection_;
    std::map<AudioObjectID, Tap> taps_;
    std::map<AudioObjectID, Device> devices_;
    std::map<AudioObjectID, std::unique_ptr<OutputRoute>> routes_;
    std::map<ListenerID, ListenerEntry> listeners_;
    AudioObjectID nextObject_ = 0x10000; // apart from the server's own numbers, which start at 0
    std::uint32_t nextId_ = 1;
    std::optional<double> observedRate_; // at which cycles came, where the server's settings say otherwise
    bool isPassive_ = true;              // until a running sink leaves a passive tap without cycles

    // Capture queue only
    std::map<AudioObjectID, TapReceiver*> receivers_;
};

} // namespace rewindle
