#pragma once

#include "base/AudioBufferList.h"
#include "base/Result.h"
#include "base/SerialQueue.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace rewindle {

/// Names a device, tap or aggregate device of the sound server; 0 is none.
using AudioObjectID = std::uint32_t;
/// What an operation of the sound server reported: 0 is success, else a negative errno or a four-character
/// code.
using AudioStatus = std::int32_t;

constexpr AudioObjectID kNoAudioObject = 0;
/// "!dev": there is no such device.
constexpr AudioStatus kAudioBadDeviceStatus = 0x21646576;

template <class T>
using AudioResult = Result<T, AudioStatus>;

/// A tap of the whole output mix, mixed to stereo, that leaves out some processes.
struct ProcessTapDescription {
    std::vector<AudioObjectID> excludedProcesses;
    std::string uuid;
    bool isPrivate = true;
};

/// A private device that carries a tap on one output device.
struct AggregateDeviceDescription {
    struct SubDevice {
        std::string uid;
    };
    struct SubTap {
        bool drift = true;
        std::string uid;
    };
    std::string name;
    std::string uid;
    std::string master; // UID of the device that gives the clock
    bool isPrivate = true;
    bool isStacked = false;
    bool tapAutoStart = true;
    std::vector<SubDevice> subdevices;
    std::vector<SubTap> taps;
};

/// The properties whose changes can be listened to. The first three belong to the system object or an output
/// device.
enum class AudioProperty {
    defaultOutputDevice, // of the system
    hardwareDevices,     // of the system: the device list, the connection to the sound server included
    outputDataSource,    // of an output device: its active route, e.g. speakers or headphones
    tapInterrupted,      // of an aggregate device: its tap can no longer deliver what its format promised
};

/// What capture has suffered, over all devices since the program began. Frames at 48,000 a second.
struct CaptureTroubles {
    std::uint64_t gaps = 0; // breaks in a running graph that were filled with silence
    std::uint64_t gapFrames = 0;
    std::uint64_t overruns = 0;      // bursts of frames lost because nobody drained the device in time
    std::uint64_t overrunFrames = 0; // filled with silence, too
};

/// How eagerly a started device hands over what it has.
enum class DeliveryPace {
    live,    // as soon as 10 ms wait: somebody is looking at the picture
    relaxed, // in large gulps: fewest wake-ups; `deliverPending` fetches the rest when it is wanted
};

/// The sound server: taps of what the computer plays, and the routes it plays on.
///
/// Threads: everything runs on the control queue that the implementation was made with, except where a method says
///          otherwise. Listeners are called on it too, never from inside another call.
/// Errors:  an operation returns the status with which the sound server refused it. An unreachable server refuses
///          everything; a later call tries to reach it again.
class AudioHardware {
public:
    using IoProc = std::function<void(AudioBufferList input)>;
    using Listener = std::function<void()>;
    using IoProcID = std::uint32_t;   // 0 is none
    using ListenerID = std::uint32_t; // 0 is none
    virtual ~AudioHardware() = default;

    /// The object that stands for a process, for `excludedProcesses`.
    virtual AudioResult<AudioObjectID> translateProcess(std::int64_t pid) = 0;

    virtual AudioResult<AudioObjectID> createProcessTap(const ProcessTapDescription& description) = 0;
    virtual void destroyProcessTap(AudioObjectID tap) = 0;
    /// Two channels of 32-bit float, not interleaved, at the rate at which the output is mixed now.
    virtual AudioResult<StreamDescription> tapFormat(AudioObjectID tap) = 0;

    virtual AudioResult<AudioObjectID> defaultOutputDevice() = 0;
    virtual AudioResult<std::vector<AudioObjectID>> devices() = 0;
    virtual AudioResult<std::string> deviceUID(AudioObjectID device) = 0;
    /// What people call the device.
    virtual AudioResult<std::string> deviceDescription(AudioObjectID device) = 0;
    virtual bool hasDataSource(AudioObjectID device) = 0;
    virtual AudioResult<std::string> dataSource(AudioObjectID device) = 0;

    virtual AudioResult<AudioObjectID> createAggregateDevice(const AggregateDeviceDescription& description) = 0;
    virtual void destroyAggregateDevice(AudioObjectID device) = 0;
    /// Asks for I/O cycles of `frames`; the device may keep its own size.
    virtual AudioStatus setBufferFrameSize(AudioObjectID device, std::uint32_t frames) = 0;

    /// `proc` is called on `queue`, with buffers of at most the buffer frame size.
    virtual AudioResult<IoProcID> createIoProc(AudioObjectID device, SerialQueue& queue, IoProc proc) = 0;
    /// After this returns `proc` is not called any more. Not from `proc` itself.
    virtual void destroyIoProc(AudioObjectID device, IoProcID proc) = 0;
    virtual AudioResult<void> startDevice(AudioObjectID device) = 0;
    /// What the device still holds goes to `proc` before this returns.
    virtual void stopDevice(AudioObjectID device) = 0;

    /// The device's I/O queue only: calls the I/O procedure now for all that waits. Unknown devices are
    /// ignored.
    virtual void deliverPending(AudioObjectID device) = 0;
    /// Any thread. Holds for all devices, now and later.
    virtual void setDeliveryPace(DeliveryPace pace) = 0;
    /// Any thread. Sums over all devices since construction.
    virtual CaptureTroubles troubles() const = 0;

    /// `object` is the device for `outputDataSource` and `tapInterrupted`, else kNoAudioObject. Stays
    /// attached while the connection to the server is lost and found again.
    virtual ListenerID addListener(AudioObjectID object, AudioProperty property, Listener listener) = 0;
    /// The listener is not called after this returns.
    virtual void removeListener(ListenerID listener) = 0;
};

} // namespace rewindle
