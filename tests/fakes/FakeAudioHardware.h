#pragma once

#include "platform/AudioHardware.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace rewindle::test {

/// A sound server under the test's control, at first with speakers, which have a data source and are the default, and
/// headphones. Started devices hold what is played until their queue fetches it, as real ones do. Numbers of objects
/// are never used twice; no call ever fails but those that the test refuses.
///
/// Threads: as the interface says; what the test calls, any thread. Public fields are set while nothing runs.
/// Errors:  what a caller does against the interface's rules is kept in `violations`.
class FakeAudioHardware final : public AudioHardware {
public:
    enum class Call { translate, createTap, defaultDevice, uid, format, createAggregate, createProc, start, devices };

    static constexpr AudioObjectID kSpeakers = 50, kHeadphones = 51;

    explicit FakeAudioHardware(SerialQueue& controlQueue) : controlQueue_(controlQueue) {}

    // What the test does to the world

    /// Every call of this kind is refused with `status`, until it is allowed again.
    void refuse(Call call, AudioStatus status) { world()->refused[call] = status; }
    void allow(Call call) { world()->refused.erase(call); }
    void addDevice(AudioObjectID device, std::string uid, bool hasDataSource = false) {
        world()->devices[device] = {std::move(uid), hasDataSource};
    }
    void removeDevice(AudioObjectID device) { world()->devices.erase(device); }
    void setDefaultDevice(AudioObjectID device) { world()->defaultDevice = device; }
    /// Tells the listeners of a property, on the control queue.
    void fire(AudioProperty property, AudioObjectID object = kNoAudioObject) {
        for (const auto& [id, entry] : listeners()) {
            if (entry.property != property || entry.object != object) continue;
            controlQueue_.async([this, id = id] { callListener(id); });
        }
    }
    void switchTo(AudioObjectID device) {
        setDefaultDevice(device);
        fire(AudioProperty::defaultOutputDevice);
    }
    /// Running devices hold these frames until they are fetched; at the live pace their queue is woken for
    /// it.
    void play(const std::vector<float>& left, const std::vector<float>& right) {
        for (const auto held = world(); auto& [id, device] : held->aggregates) {
            if (!device.running) continue;
            device.left.insert(device.left.end(), left.begin(), left.end());
            device.right.insert(device.right.end(), right.begin(), right.end());
        }
        if (pace() == DeliveryPace::live) wake();
    }
    /// Has everything that running devices hold delivered on their queue.
    void wake() {
        for (const auto held = world(); const auto& [id, device] : held->aggregates) {
            if (device.queue) device.queue->async([this, id = id] { deliverPending(id); });
        }
    }
    std::uint32_t bufferFrames = 512;
    StreamDescription format{48'000, 2, 32, true, false};
    std::function<void()> onStart; // within startDevice

    // What the test looks at

    [[nodiscard]] std::vector<std::string> violations() const { return world()->violations; }
    /// Taps, aggregate devices, I/O procedures, running devices and listeners that exist.
    [[nodiscard]] std::size_t liveObjects() const {
        const auto held = world();
        auto count = held->taps.size() + held->aggregates.size() + held->listeners.size();
        for (const auto& [id, device] : held->aggregates)
            count += device.liveParts();
        return count;
    }
    [[nodiscard]] int starts() const { return world()->starts; }
    [[nodiscard]] std::vector<AudioObjectID> dataSourceListenerDevices() const {
        std::vector<AudioObjectID> found;
        for (const auto& [id, entry] : listeners()) {
            if (entry.property == AudioProperty::outputDataSource) found.push_back(entry.object);
        }
        return found;
    }
    /// The aggregate device; none while there is none.
    [[nodiscard]] AudioObjectID aggregate() const {
        const auto held = world();
        return held->aggregates.empty() ? kNoAudioObject : held->aggregates.begin()->first;
    }
    /// The procedure that was installed last; a late cycle would call it when its device is gone.
    [[nodiscard]] IoProc lastProc() const { return world()->lastProc; }
    [[nodiscard]] ProcessTapDescription tapDescription() const { return world()->tapDescription; }
    [[nodiscard]] AggregateDeviceDescription aggregateDescription() const { return world()->aggregateDescription; }
    [[nodiscard]] DeliveryPace pace() const { return world()->pace; }

    // AudioHardware

    AudioResult<AudioObjectID> translateProcess(std::int64_t pid) override {
        if (const auto status = refusal(Call::translate)) return status;
        return static_cast<AudioObjectID>(pid + 1000);
    }
    AudioResult<AudioObjectID> createProcessTap(const ProcessTapDescription& description) override {
        if (const auto status = refusal(Call::createTap)) return status;
        const auto held = world();
        if (!held->taps.empty()) held->violations.emplace_back("makes a tap beside another");
        held->tapDescription = description;
        return *held->taps.insert(held->nextId++).first;
    }
    void destroyProcessTap(AudioObjectID tap) override {
        requireControlQueue();
        require(world()->taps.erase(tap) == 1, "destroys a tap that is not there");
    }
    AudioResult<StreamDescription> tapFormat(AudioObjectID) override {
        if (const auto status = refusal(Call::format)) return status;
        return format;
    }
    AudioResult<AudioObjectID> defaultOutputDevice() override {
        if (const auto status = refusal(Call::defaultDevice)) return status;
        return world()->defaultDevice;
    }
    AudioResult<std::vector<AudioObjectID>> devices() override {
        if (const auto status = refusal(Call::devices)) return status;
        std::vector<AudioObjectID> list;
        for (const auto held = world(); const auto& [id, device] : held->devices)
            list.push_back(id);
        return list;
    }
    AudioResult<std::string> deviceUID(AudioObjectID device) override {
        if (const auto status = refusal(Call::uid)) return status;
        const auto held = world();
        const auto found = held->devices.find(device);
        if (found == held->devices.end()) return kAudioBadDeviceStatus;
        return found->second.uid;
    }
    AudioResult<std::string> deviceDescription(AudioObjectID device) override {
        const auto uid = deviceUID(device);
        if (!uid) return uid.error();
        return "Device " + uid.value();
    }
    bool hasDataSource(AudioObjectID device) override {
        const auto held = world();
        const auto found = held->devices.find(device);
        return found != held->devices.end() && found->second.hasDataSource;
    }
    AudioResult<std::string> dataSource(AudioObjectID) override { return std::string("speakers"); }

    AudioResult<AudioObjectID> createAggregateDevice(const AggregateDeviceDescription& description) override {
        if (const auto status = refusal(Call::createAggregate)) return status;
        const auto held = world();
        held->aggregateDescription = description;
        held->aggregates[held->nextId];
        return held->nextId++;
    }
    void destroyAggregateDevice(AudioObjectID device) override {
        requireControlQueue();
        const auto gone = world()->aggregates.extract(device);
        require(!gone.empty() && gone.mapped().liveParts() == 0,
                "destroys an aggregate device that is missing or in use");
    }
    AudioStatus setBufferFrameSize(AudioObjectID, std::uint32_t) override { return -95; } // keeps its own size
    AudioResult<IoProcID> createIoProc(AudioObjectID device, SerialQueue& queue, IoProc proc) override {
        if (const auto status = refusal(Call::createProc)) return status;
        const auto held = world();
        held->aggregates.at(device).queue = &queue;
        held->aggregates.at(device).proc = std::make_shared<IoProc>(proc);
        held->lastProc = std::move(proc);
        return IoProcID{1};
    }
    void destroyIoProc(AudioObjectID device, IoProcID) override {
        requireControlQueue();
        const bool isRunning = world()->aggregates.at(device).running;
        require(!isRunning, "destroys the I/O procedure of a running device");
        auto* queue = std::exchange(world()->aggregates.at(device).queue, nullptr);
        require(queue, "destroys an I/O procedure that is not there");
        world()->aggregates.at(device).proc = nullptr;
        if (queue) queue->sync([] {}); // a call under way ends first
    }
    AudioResult<void> startDevice(AudioObjectID device) override {
        if (const auto status = refusal(Call::start)) return status;
        world()->aggregates.at(device).running = true;
        ++world()->starts;
        if (onStart) onStart();
        return {};
    }
    void stopDevice(AudioObjectID device) override {
        requireControlQueue();
        world()->aggregates.at(device).running = false;
        auto* queue = world()->aggregates.at(device).queue;
        if (queue) queue->sync([&] { deliverPending(device); });
    }

    /// Hands over what a device holds, in buffers of at most `bufferFrames`. Allocates nothing itself.
    void deliverPending(AudioObjectID device) override {
        std::shared_ptr<IoProc> proc;
        std::vector<float> left, right;
        {
            const auto held = world();
            const auto found = held->aggregates.find(device);
            if (found == held->aggregates.end() || !found->second.proc) return;
            if (!found->second.queue->isCurrent()) held->violations.emplace_back("delivers on a foreign queue");
            proc = found->second.proc;
            left.swap(found->second.left);
            right.swap(found->second.right);
        }
        for (std::size_t at = 0; at < left.size(); at += bufferFrames) {
            const auto frames = std::min<std::size_t>(bufferFrames, left.size() - at);
            const auto bytes = static_cast<std::uint32_t>(frames * sizeof(float));
            const AudioBuffer list[] = {{1, bytes, left.data() + at}, {1, bytes, right.data() + at}};
            (*proc)(list);
        }
    }
    void setDeliveryPace(DeliveryPace pace) override { world()->pace = pace; }
    [[nodiscard]] CaptureTroubles troubles() const override { return {}; }

    ListenerID addListener(AudioObjectID object, AudioProperty property, Listener listener) override {
        requireControlQueue();
        const auto held = world();
        held->listeners[held->nextId] = {object, property, std::move(listener)};
        return held->nextId++;
    }
    void removeListener(ListenerID listener) override {
        requireControlQueue();
        world()->listeners.erase(listener);
    }

private:
    struct OutputDevice {
        std::string uid;
        bool hasDataSource = false;
    };
    struct ListenerEntry {
        AudioObjectID object = kNoAudioObject;
        AudioProperty property{};
        Listener listener;
    };
    struct TapDevice {
        SerialQueue* queue = nullptr;
        std::shared_ptr<IoProc> proc;
        bool running = false;
        std::vector<float> left, right; // played, not fetched
        /// How much of it has to be ended before it can go.
        [[nodiscard]] std::size_t liveParts() const { return (proc ? 1U : 0U) + (running ? 1U : 0U); }
    };
    struct World {
        std::map<Call, AudioStatus> refused;
        std::map<AudioObjectID, OutputDevice> devices{{kSpeakers, {"speakers", true}}, {kHeadphones, {"headphones"}}};
        AudioObjectID defaultDevice = kSpeakers;
        AudioObjectID nextId = 2; // 1 is the server itself
        std::set<AudioObjectID> taps;
        std::map<AudioObjectID, TapDevice> aggregates;
        std::map<ListenerID, ListenerEntry> listeners;
        std::vector<std::string> violations;
        int starts = 0;
        DeliveryPace pace = DeliveryPace::relaxed;
        IoProc lastProc;
        ProcessTapDescription tapDescription;
        AggregateDeviceDescription aggregateDescription;
    };

    /// The world, held until the end of the expression or the scope.
    struct Held {
        std::unique_lock<std::mutex> lock;
        World* world;
        World* operator->() const { return world; }
    };
    Held world() const { return {std::unique_lock(mutex_), &world_}; }
    decltype(World::listeners) listeners() const { return world()->listeners; }
    void require(bool held, const char* violation) const {
        if (!held) world()->violations.emplace_back(violation);
    }
    void requireControlQueue() const { require(controlQueue_.isCurrent(), "calls outside the control queue"); }
    /// The status with which this call is refused; 0 when it is not.
    AudioStatus refusal(Call call) {
        requireControlQueue();
        const auto held = world();
        const auto found = held->refused.find(call);
        return found == held->refused.end() ? 0 : found->second;
    }
    void callListener(ListenerID id) {
        const auto all = listeners();
        if (const auto found = all.find(id); found != all.end()) found->second.listener();
    }

    SerialQueue& controlQueue_;
    mutable std::mutex mutex_;
    mutable World world_;
};

} // namespace rewindle::test
