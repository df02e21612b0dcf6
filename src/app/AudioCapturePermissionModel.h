#pragma once

#include "app/AudioCaptureProbe.h"
#include "app/PermissionStore.h"
#include "base/Log.h"
#include "base/Observable.h"
#include "platform/Workspace.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace rewindle {

enum class AudioCaptureAccessState : std::uint8_t { checking, granted, firstRun, needsSystemSettings };

/// Whether the user lets this program hear what the computer plays, and the way to that consent.
///
/// Threads:   interface thread; operations may reply later, there.
/// Lifecycle: replies that come after its end do nothing. Completions are optional and are called when the state
///            has been set.
class AudioCapturePermissionModel {
public:
    struct Operations {
        std::function<bool()> preflight;
        AudioCaptureProbe::Probe probe;      // in this process
        AudioCaptureProbe::Probe request;    // has the user asked
        AudioCaptureProbe::Probe freshProbe; // by way of a probe child
    };
    using Completion = std::function<void()>;

    /// Requires: `defaults` and `workspace` outlive this.
    AudioCapturePermissionModel(DefaultsStore& defaults, Operations operations, Workspace& workspace, Log log);
    ~AudioCapturePermissionModel();
    AudioCapturePermissionModel(const AudioCapturePermissionModel&) = delete;
    AudioCapturePermissionModel& operator=(const AudioCapturePermissionModel&) = delete;

    [[nodiscard]] const Observable<AudioCaptureAccessState>& state() const { return state_; }
    [[nodiscard]] bool isGranted() const { return state_.get() == AudioCaptureAccessState::granted; }
    /// The last recheck that a user started found access still off.
    [[nodiscard]] const Observable<bool>& recheckFoundAccessStillOff() const { return recheckFoundAccessStillOff_; }

    /// Once, after launch.
    void reconcileOnLaunch(Completion completion = {});
    /// Has the user asked, from the first-run view. Only one question at a time.
    void requestAccess(Completion completion = {});
    /// The view's recheck button.
    void recheck(Completion completion = {});
    /// When the program comes to the foreground.
    void foregroundCheck(Completion completion = {});
    /// When the stored consent may have changed: takes this process's own answer, at once.
    void consentChanged();
    void openSystemSettings();

private:
    Observable<AudioCaptureAccessState> state_{AudioCaptureAccessState::checking};
    Observable<bool> recheckFoundAccessStillOff_{false};
    PermissionStore store_;
    Operations operations_;
    Workspace& workspace_;
    Log logger_;
    std::shared_ptr<AudioCapturePermissionModel*> self_; // replies refer to it weakly
};

} // namespace rewindle
