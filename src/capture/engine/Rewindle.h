#pragma once

#include "base/Clock.h"
#include "base/Log.h"
#include "base/Observable.h"
#include "base/SampleArray.h"
#include "base/SerialQueue.h"
#include "capture/engine/CopyLine.h"
#include "capture/ring/AudioRingBuffer.h"
#include "capture/tap/CoreAudioTapCapture.h"
#include "meter/CaptureLevelMeter.h"
#include "platform/AudioHardware.h"
#include "platform/AudioMemory.h"
#include "settings/RecordingDuration.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace rewindle {

/// The capture engine: owns the retained audio and everything that feeds it.
///
/// Threads:   interface thread, except where a method says otherwise. Audio is softened, metered and
///            appended on the capture queue. Copies and replacements of the ring buffer are made there too,
///            between two appends, while the device holds what arrives: neither loses a frame.
/// Errors:    a start that fails is reported once and tried again every 3.0 s until it works or is stopped.
/// Lifecycle: the destructor ends capture and waits for both queues. No callback and no completion is
///            called after it, but for copies that were asked for before.
class Rewindle {
public:
    /// What the engine works with; all of it outlives the engine.
    struct Services {
        AudioHardware& hardware;
        SerialQueue& captureQueue;
        SerialQueue& controlQueue;
        SerialQueue& mainQueue;
        Clock& clock;
        AudioMemory& memory;
        LogSink& log;
        std::int64_t processIdentifier = 0; // of this process, whose own playback is left out
    };
    /// All are called on the interface thread, but for `captureGainDBForOutputDeviceUID` (the control queue).
    struct Callbacks {
        std::function<float(const std::string& uid)> captureGainDBForOutputDeviceUID; // may be empty
        std::function<void(const std::string& uid)> onOutputDeviceUIDChanged;         // may be empty
        std::function<void(const CoreAudioTapCaptureError&)> onCaptureStartFailed;    // once per start()
        std::function<void(const CoreAudioTapCaptureError&)> onCaptureRestartFailed;
    };
    /// Which frames to copy, given what is held at the moment of the copy: [first, second).
    using RangeChoice = std::function<std::pair<std::int64_t, std::int64_t>(const WaveformInfo&)>;

    /// Where there is no memory for that duration, a shorter one is kept. Throws std::bad_alloc where there is none for any.
    Rewindle(RecordingDuration duration, float gainDB, Services services);
    ~Rewindle();
    Rewindle(const Rewindle&) = delete;
    Rewindle& operator=(const Rewindle&) = delete;

    [[nodiscard]] const Observable<std::shared_ptr<AudioRingBuffer>>& ringBuffer() const;
    /// Raised by one each time `ringBuffer` is replaced.
    [[nodiscard]] const Observable<std::uint64_t>& ringBufferRevision() const;
    /// True from start() to stop(): capture is wanted, even while a first start is still being retried.
    [[nodiscard]] const Observable<bool>& isRunning() const;
    /// UID of the output device on which capture runs; empty while it runs on none.
    [[nodiscard]] const Observable<std::string>& outputDeviceUID() const;
    /// Whether what is captured is dropped, as last asked: by setFrozen() or by stop().
    [[nodiscard]] const Observable<bool>& isFrozen() const;
    [[nodiscard]] CaptureLevelMeter& levelMeter();

    void setGain(float gainDB, bool ramp);
    /// Keeps the newest audio and the frame numbers. `completion` runs on the interface thread afterwards, and is told
    /// whether there was memory for it; without, everything stays as it is.
    void setDuration(RecordingDuration duration, std::function<void(bool isDone)> completion = {});

    /// Begins capture; does nothing when it is running. Does not unfreeze.
    void start(Callbacks callbacks);
    /// Freezes the retained audio, then ends capture. `completion` runs on the interface thread.
    void stop(std::function<void()> completion = {});
    /// Drops what is captured from now on, or no longer.
    void setFrozen(bool frozen);
    void unfreeze() { setFrozen(false); }

    /// Fetches what the device still holds, then copies a range of the retained audio, piece by piece on the capture
    /// queue, and gives it to `completion` on `replyQueue`. The range is of what is held then, whatever is captured,
    /// frozen or replaced while the copy is made. Copies are made one after the other, and only a few at once exist.
    void copyFrames(RangeChoice range, SerialQueue& replyQueue, CopyLine::Completion completion);
    /// Fetches what the device still holds; `completion` runs on the interface thread when it has been
    /// appended.
    void drain(std::function<void()> completion);
    /// While somebody looks at the live picture, audio is handed over every 10 ms instead of in large gulps.
    void setLive(bool live);

private:
    struct State;
    struct RunLink;
    [[nodiscard]] static CoreAudioTapCapture::Callbacks tapCallbacks(const RunLink& link);

    std::shared_ptr<State> state_; // work on the queues refers to it weakly
};

} // namespace rewindle
