#pragma once

#include "base/AudioPCMBuffer.h"
#include "base/Log.h"
#include "base/Result.h"
#include "base/SerialQueue.h"
#include "capture/tap/CoreAudioTapCaptureError.h"
#include "capture/tap/OutputRouteWatcher.h"
#include "platform/AudioHardware.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace rewindle {

class AudioBufferListConverter;

/// Captures everything the computer plays: taps the output mix, converts each buffer to the working format
/// and hands it on; follows the output route, and restarts itself whenever that changes.
///
/// Threads:   control queue, except where a method says otherwise. It waits for the capture queue when it
///            tears down, so the capture queue must never wait for it.
/// Errors:    a failed start or restart leaves no audio object behind. Restarts are retried until they work
///            or until stop(); see CaptureRestartSchedule.
/// Lifecycle: owned by a shared_ptr, to which queued work and listeners refer weakly. Stop it first.
class CoreAudioTapCapture : public std::enable_shared_from_this<CoreAudioTapCapture> {
public:
    /// All may be empty. Each says where it is called.
    struct Callbacks {
        /// Capture queue: audio in the working format, which may be changed in place during the call.
        std::function<void(const AudioPCMBuffer&)> onBuffer;
        /// Interface thread: capture runs on another device than before; the first one counts.
        std::function<void(const std::string& uid)> onOutputDeviceUIDChanged;
        /// Interface thread: the whole schedule of retries has failed. It begins again by itself.
        std::function<void(const CoreAudioTapCaptureError&)> onCaptureRestartFailed;
        /// Control queue: capture is about to start on this device; no buffer of it has come yet. Its sound will be
        /// late by `delayFrames` frames, that many come before it.
        std::function<void(const std::string& uid, std::int64_t delayFrames)> onOutputDeviceChosen;
        /// Control queue: capture runs on this device.
        std::function<void(const std::string& uid)> onOutputDeviceResolved;
        /// Control queue: a restart has cut the audio; no buffer comes before this returns.
        std::function<void()> onCaptureRestartSeam;
    };
    using StartResult = Result<void, CoreAudioTapCaptureError>;

    /// `processIdentifier` names this process, whose own playback is left out. Makes no audio objects yet.
    CoreAudioTapCapture(AudioHardware& hardware, SerialQueue& captureQueue, SerialQueue& controlQueue,
                        SerialQueue& mainQueue, LogSink& log, std::int64_t processIdentifier);
    ~CoreAudioTapCapture();
    CoreAudioTapCapture(const CoreAudioTapCapture&) = delete;
    CoreAudioTapCapture& operator=(const CoreAudioTapCapture&) = delete;

    /// Any thread; before start().
    void setCallbacks(Callbacks callbacks);
    /// Requires: not running.
    StartResult start();
    /// Ends capture, its listeners and its retries, and drops the callbacks. Safe when not running.
    void stop();
    [[nodiscard]] bool isRunning() const { return isRunning_; }

    /// Capture queue only: hands over what the device still holds.
    void deliverPending();
    /// The same, with what is still on its way through the rate converter: what comes later is not wanted.
    void deliverEnd();

private:
    // The start sequence
    StartResult runStartSequence();
    StartResult createTap();
    StartResult readOutputDevice();
    StartResult makeConverter();
    StartResult createAggregateDevice();
    StartResult installIoProc();
    StartResult startDevice();
    void captureStarted();
    void tearDown();

    // Route events and restarts
    [[nodiscard]] OutputRouteWatcher::Handlers makeHandlers();
    void defaultOutputDeviceChanged();
    void hardwareDevicesChanged();
    void outputDataSourceChanged(AudioObjectID device);
    void scheduleCaptureRestart(const std::string& reason);
    void performCaptureRestart(const std::string& reason, std::size_t attempt);
    void restartFailed(const CoreAudioTapCaptureError& error, std::size_t attempt);
    void reportRestartFailure(const CoreAudioTapCaptureError& error);
    void recover();
    /// Runs `work` after `delay` unless other work is put off, or capture stopped, before.
    void setPendingRestart(std::chrono::nanoseconds delay, std::function<void(CoreAudioTapCapture&)> work);
    void logRouteState(const std::string& event);

    // Capture queue
    void receive(AudioBufferList input);
    [[nodiscard]] std::shared_ptr<AudioBufferListConverter> converter() const; // any thread

    // Any thread
    [[nodiscard]] std::shared_ptr<const Callbacks> callbacks() const;
    [[nodiscard]] bool isWanted() const;

    AudioHardware& hardware_;
    SerialQueue& queue_;
    SerialQueue& controlQueue_;
    SerialQueue& mainQueue_;
    const Log log_;
    const std::int64_t processIdentifier_;

    mutable std::mutex captureStateLock_; // guards the next two; held only to read or replace them
    std::shared_ptr<AudioBufferListConverter> converter_;
    std::shared_ptr<const Callbacks> callbacks_;

    AudioObjectID tapID_ = kNoAudioObject;
    std::string tapUuid_;
    std::atomic<AudioObjectID> aggregateDeviceID_{kNoAudioObject}; // written on the control queue only
    AudioHardware::IoProcID deviceProcID_ = 0;
    AudioObjectID outputDeviceID_ = kNoAudioObject; // the one that the start sequence works on
    std::string outputDeviceUID_;
    AudioObjectID activeOutputDeviceID_ = kNoAudioObject;
    std::string reportedOutputDeviceUID_;
    OutputRouteWatcher watcher_;
    std::optional<DelayedWork> pendingRestartWorkItem_;
    bool isRunning_ = false;
};

} // namespace rewindle
