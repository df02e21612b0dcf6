#include "host/pipewire/PipeWireAudioHardware.h"

#include <algorithm>
#include <cassert>
#include <cerrno>

namespace rewindle {

PipeWireAudioHardware::PipeWireAudioHardware(PipeWireLoopQueue& controlQueue, PipeWireLoopQueue& captureQueue,
                                             const Clock& clock, LogSink& log, std::string passiveness)
    : controlQueue_(controlQueue), captureQueue_(captureQueue), clock_(clock), logSink_(log),
      log_(log, "CoreAudioTap"), passiveness_(std::move(passiveness)) {
    controlQueue_.sync([this] {
        connection_ = std::make_unique<PipeWireConnection>(controlQueue_, logSink_, connectionHandlers());
    });
}

PipeWireAudioHardware::~PipeWireAudioHardware() {
    controlQueue_.sync([this] {
        assert(devices_.empty());
        listeners_.clear();
        routes_.clear();
        connection_.reset();
    });
    captureQueue_.sync([] {}); // work posted by setDeliveryPace is done
}

PipeWireConnection::Handlers PipeWireAudioHardware::connectionHandlers() {
    return {
        .onLost = [this] { notify(kNoAudioObject, AudioProperty::hardwareDevices); },
        .onSinksChanged = [this] { notify(kNoAudioObject, AudioProperty::hardwareDevices); },
        .onDefaultSinkChanged = [this] { notify(kNoAudioObject, AudioProperty::defaultOutputDevice); },
        .onRateChanged = [this] { handleRateChange(); },
        .onLinkAdded =
            [this](PipeWireGraph::ID link) {
                for (auto& [id, device] : devices_) {
                    if (device.node) device.node->linkAdded(link);
                }
            },
        .onObjectRemoved =
            [this](PipeWireGraph::ID object) {
                for (auto& [id, device] : devices_) {
                    if (device.node) device.node->objectRemoved(object);
                }
            },
    };
}

// Taps

AudioResult<AudioObjectID> PipeWireAudioHardware::translateProcess(std::int64_t pid) {
    const auto client = connection_->graph().clientOfProcess(pid);
    if (!client) return -ESRCH;
    return *client;
}

AudioResult<AudioObjectID> PipeWireAudioHardware::createProcessTap(const ProcessTapDescription& description) {
    if (!connection_->isConnected()) {
        assert(devices_.empty());
        routes_.clear();   // made on the connection that is gone
        isPassive_ = true; // it may be another server
        observedRate_.reset();
        if (const int failure = connection_->connect(); failure < 0) return failure;
    }
    const auto id = nextObject_++;
    taps_[id] = {description, observedRate_.value_or(connection_->graph().nominalRate())};
    return id;
}

void PipeWireAudioHardware::destroyProcessTap(AudioObjectID tap) {
    taps_.erase(tap);
}

AudioResult<StreamDescription> PipeWireAudioHardware::tapFormat(AudioObjectID tap) {
    const auto found = taps_.find(tap);
    if (found == taps_.end()) return -ENOENT;
    return StreamDescription{.sampleRate = found->second.rate, .channelsPerFrame = 2, .bitsPerChannel = 32};
}

// Output devices

AudioResult<AudioObjectID> PipeWireAudioHardware::defaultOutputDevice() {
    const auto sink = connection_->graph().defaultSink();
    if (!sink) return kAudioBadDeviceStatus;
    return *sink;
}

AudioResult<std::vector<AudioObjectID>> PipeWireAudioHardware::devices() {
    if (!connection_->isConnected()) return -ENOTCONN;
    std::vector<AudioObjectID> found;
    for (const auto& [id, sink] : connection_->graph().sinks())
        found.push_back(id);
    return found;
}

AudioResult<std::string> PipeWireAudioHardware::deviceUID(AudioObjectID device) {
    const auto& sinks = connection_->graph().sinks();
    const auto found = sinks.find(device);
    if (found == sinks.end()) return kAudioBadDeviceStatus;
    return found->second.name;
}

AudioResult<std::string> PipeWireAudioHardware::deviceDescription(AudioObjectID device) {
    const auto& sinks = connection_->graph().sinks();
    const auto found = sinks.find(device);
    if (found == sinks.end()) return kAudioBadDeviceStatus;
    return found->second.description;
}

OutputRoute* PipeWireAudioHardware::route(AudioObjectID device) {
    std::erase_if(routes_, [this](const auto& entry) { return !connection_->graph().sinks().contains(entry.first); });
    if (!connection_->graph().sinks().contains(device)) return nullptr;
    auto& entry = routes_[device];
    if (!entry) {
        entry = std::make_unique<OutputRoute>(*connection_, device,
                                              [this, device] { notify(device, AudioProperty::outputDataSource); });
    }
    return entry.get();
}

bool PipeWireAudioHardware::hasDataSource(AudioObjectID device) {
    const auto* known = route(device);
    return known && known->name();
}

AudioResult<std::string> PipeWireAudioHardware::dataSource(AudioObjectID device) {
    const auto* known = route(device);
    if (!known || !known->name()) return -ENOENT;
    return *known->name();
}

std::optional<PipeWireGraph::ID> PipeWireAudioHardware::sinkWithUID(const std::string& uid) const {
    const auto& sinks = connection_->graph().sinks();
    const auto found = std::ranges::find_if(sinks, [&](const auto& entry) { return entry.second.name == uid; });
    if (found == sinks.end()) return std::nullopt;
    return found->first;
}

// Aggregate devices

AudioResult<AudioObjectID>
PipeWireAudioHardware::createAggregateDevice(const AggregateDeviceDescription& description) {
    if (!connection_->isConnected()) return -ENOTCONN;
    if (!sinkWithUID(description.master)) return kAudioBadDeviceStatus;
    const auto tap = std::ranges::find_if(taps_, [&](const auto& entry) {
        return !description.taps.empty() && entry.second.description.uuid == description.taps.front().uid;
    });
    if (tap == taps_.end()) return -ENOENT;
    const auto id = nextObject_++;
    Device& device = devices_[id];
    device.description = description;
    device.rate = tap->second.rate;
    return id;
}

void PipeWireAudioHardware::destroyAggregateDevice(AudioObjectID device) {
    stopDevice(device);
    devices_.erase(device);
}

AudioStatus PipeWireAudioHardware::setBufferFrameSize(AudioObjectID device, std::uint32_t frames) {
    const auto found = devices_.find(device);
    if (found == devices_.end()) return kAudioBadDeviceStatus;
    if (frames == 0) return -EINVAL;
    found->second.bufferFrames = frames;
    return 0;
}

AudioResult<AudioHardware::IoProcID> PipeWireAudioHardware::createIoProc(AudioObjectID device, SerialQueue& queue,
                                                                         IoProc proc) {
    const auto found = devices_.find(device);
    if (found == devices_.end()) return kAudioBadDeviceStatus;
    if (&queue != &captureQueue_) return -EINVAL;
    found->second.proc = std::move(proc);
    found->second.procId = nextId_++;
    return found->second.procId;
}

void PipeWireAudioHardware::destroyIoProc(AudioObjectID device, IoProcID proc) {
    const auto found = devices_.find(device);
    if (found == devices_.end() || found->second.procId != proc) return;
    stopDevice(device);
    found->second.proc = nullptr;
    found->second.procId = 0;
}

std::vector<PipeWireGraph::Port> PipeWireAudioHardware::waitForMonitorPorts(PipeWireGraph::ID sink) {
    // A sink that has just appeared gets its ports a moment later, all in one go.
    connection_->waitFor([&] { return !connection_->graph().monitorPorts(sink).empty(); });
    connection_->roundTrip();
    return connection_->graph().monitorPorts(sink);
}

std::unique_ptr<TapReceiver> PipeWireAudioHardware::makeReceiver(AudioObjectID id, const Device& device,
                                                                 const std::vector<PipeWireGraph::Port>& ports) {
    TapReceiver::Setup setup{.rate = device.rate, .channelPositions = {}, .bufferFrames = device.bufferFrames};
    for (const auto& port : ports)
        setup.channelPositions.push_back(port.channel);
    // The capture thread reports; this object, with its queues, outlives every receiver.
    TapReceiver::Handlers handlers{
        .onFormatChanged =
            [this, id](double rate) {
                controlQueue_.async([this, id, rate] {
                    observedRate_ = rate;
                    notify(id, AudioProperty::tapInterrupted);
                });
            },
        .onStalled =
            [this, id](bool hadCycles) {
                controlQueue_.async([this, id, hadCycles] {
                    log_.warning("[route] the output device runs, but its monitor gives nothing");
                    if (!hadCycles) isPassive_ = false;
                    notify(id, AudioProperty::tapInterrupted);
                });
            },
    };
    return std::make_unique<TapReceiver>(std::move(setup), clock_, logSink_, pace_, troubles_, device.proc,
                                         std::move(handlers));
}

std::string PipeWireAudioHardware::tapPassiveness() const {
    if (!isPassive_) return "false";
    return passiveness_.empty() ? connection_->serverVersion().passiveListener() : passiveness_;
}

AudioResult<void> PipeWireAudioHardware::startDevice(AudioObjectID id) {
    const auto found = devices_.find(id);
    if (found == devices_.end()) return kAudioBadDeviceStatus;
    Device& device = found->second;
    if (device.node || !device.proc) return -EINVAL;
    const auto sink = sinkWithUID(device.description.master);
    if (!sink) return kAudioBadDeviceStatus;
    const auto ports = waitForMonitorPorts(*sink);
    if (ports.empty()) return -ENODEV;

    device.receiver = makeReceiver(id, device, ports);
    device.delivery = std::make_unique<TapDelivery>(*device.receiver, captureQueue_);
    device.node = std::make_unique<TapNode>(
        *connection_, logSink_, TapNode::Setup{*sink, device.description.name, ports, tapPassiveness()},
        *device.receiver, *device.delivery, [this, id] { notify(id, AudioProperty::tapInterrupted); });
    if (const int failure = device.node->start(); failure < 0) {
        device.node.reset();
        device.delivery.reset();
        device.receiver.reset();
        return failure;
    }
    device.delivery->begin();
    captureQueue_.sync([this, id, receiver = device.receiver.get()] { receivers_[id] = receiver; });
    return {};
}

void PipeWireAudioHardware::stopDevice(AudioObjectID id) {
    const auto found = devices_.find(id);
    if (found == devices_.end() || !found->second.node) return;
    Device& device = found->second;
    device.node.reset();
    device.delivery->end();
    captureQueue_.sync([this, id] { receivers_.erase(id); });
    device.delivery.reset();
    device.receiver.reset();
}

void PipeWireAudioHardware::deliverPending(AudioObjectID device) {
    captureQueue_.assertCurrent();
    const auto found = receivers_.find(device);
    if (found != receivers_.end()) found->second->deliver();
}

void PipeWireAudioHardware::setDeliveryPace(DeliveryPace pace) {
    if (pace_.exchange(pace) == pace) return;
    captureQueue_.async([this] {
        for (const auto& [id, receiver] : receivers_)
            receiver->deliver();
    });
}

CaptureTroubles PipeWireAudioHardware::troubles() const {
    return {troubles_.gaps, troubles_.gapFrames, troubles_.overruns, troubles_.overrunFrames};
}

void PipeWireAudioHardware::handleRateChange() {
    // A running graph shows its new rate by its cycles; a sleeping one would lose the first of them.
    observedRate_.reset();
    for (const auto& [id, device] : devices_) {
        if (device.rate != connection_->graph().nominalRate()) notify(id, AudioProperty::tapInterrupted);
    }
}

// Listeners

AudioHardware::ListenerID PipeWireAudioHardware::addListener(AudioObjectID object, AudioProperty property,
                                                             Listener listener) {
    if (property == AudioProperty::outputDataSource) route(object); // it tells of changes from when it is known
    const auto id = nextId_++;
    listeners_[id] = {object, property, std::move(listener)};
    return id;
}

void PipeWireAudioHardware::removeListener(ListenerID listener) {
    listeners_.erase(listener);
}

void PipeWireAudioHardware::notify(AudioObjectID object, AudioProperty property) {
    for (const auto& [id, entry] : listeners_) {
        if (entry.object != object || entry.property != property) continue;
        controlQueue_.async([this, called = id] {
            const auto found = listeners_.find(called);
            if (found == listeners_.end()) return;
            const auto listener = found->second.listener; // it may take itself off
            listener();
        });
    }
}

} // namespace rewindle
