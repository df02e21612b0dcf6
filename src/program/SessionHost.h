#pragma once

#include "app/AppSession.h"
#include "app/SessionCaptureControl.h"
#include "base/Clock.h"
#include "base/ThreadSerialQueue.h"
#include "host/consent/StoredConsent.h"
#include "host/defaults/JsonDefaultsStore.h"
#include "host/files/LockedAudioMemory.h"
#include "host/files/PosixFileSystem.h"
#include "host/files/SndfileWriter.h"
#include "host/pipewire/PipeWireAudioHardware.h"
#include "host/pipewire/PipeWireLoopQueue.h"
#include "host/process/QtMainQueue.h"
#include "host/process/QtProcessLauncher.h"

#include <functional>
#include <optional>

namespace rewindle {

/// The session on this machine's services, with its control: what the program is made of with a window or without.
/// The members are destroyed in reverse order: first those who ask, then the engine, the sound server, and last the
/// queues with what the work on them may still use.
///
/// Threads:   interface thread.
/// Lifecycle: make it after the QCoreApplication and the TerminationSignals.
class SessionHost {
public:
    /// What differs between the modes; all of it outlives the host.
    struct Desktop {
        LogSink& log;
        LoginItemService& loginItem;
        FolderChooser& folderChooser;
        Workspace& workspace;
    };
    /// `onQuit` is called when somebody asks the program to end.
    SessionHost(const Desktop& desktop, std::optional<RecordingDuration> durationForThisRun,
                std::function<void()> onQuit);
    SessionHost(const SessionHost&) = delete;
    SessionHost& operator=(const SessionHost&) = delete;

    [[nodiscard]] AppSession& session() { return session_; }
    [[nodiscard]] SessionCaptureControl& control() { return control_; }
    [[nodiscard]] StoredConsent& consent() { return consent_; }
    [[nodiscard]] DefaultsStore& defaults() { return defaults_; }
    [[nodiscard]] SerialQueue& mainQueue() { return mainQueue_; }

private:
    [[nodiscard]] AudioCapturePermissionModel::Operations permissionOperations();

    LogSink& log_;
    SystemClock clock_;
    LockedAudioMemory memory_{log_};
    PosixFileSystem files_;
    SndfileWriter writer_;
    QtMainQueue mainQueue_{"com.rewindle.main"};
    ThreadSerialQueue exportQueue_{"com.rewindle.export"};
    PipeWireLoopQueue captureQueue_{"com.rewindle.audio"};
    PipeWireLoopQueue controlQueue_{"com.rewindle.audio.control"};
    PipeWireAudioHardware hardware_;
    JsonDefaultsStore defaults_;
    StoredConsent consent_;
    QtProcessLauncher launcher_;
    AppSession session_;
    SessionCaptureControl control_;
};

} // namespace rewindle
