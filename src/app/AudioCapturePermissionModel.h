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
#include <vector>

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
    /// Granted; or, while `checking`, granted as far as this process can see by itself. Decides what to show
    /// meanwhile; capture waits for `isGranted`.
    [[nodiscard]] bool isPresumedGranted() const;
    /// The last recheck that a user started found access still off.
    [[nodiscard]] const Observable<bool>& recheckFoundAccessStillOff() const { return recheckFoundAccessStillOff_; }

    /// Once, after launch.
    void reconcileOnLaunch(Completion completion = {});
    /// Has the user asked, from the first-run view. While the question is open, another call waits for its answer.
    void requestAccess(Completion completion = {});
    /// The view's recheck button. Does nothing while `checking` or while the user is being asked.
    void recheck(Completion completion = {});
    /// The same, when the program comes to the foreground. Does nothing before the user has been asked, either.
    void foregroundCheck(Completion completion = {});
    /// When the stored consent may have changed: takes this process's own answer, at once. The answer of a probe child
    /// that is on its way then counts no more. While `checking`, launch reconciliation takes the change into account.
    void consentChanged();
    void openSystemSettings();

private:
    void startFreshProbe(Completion completion);
    void onFreshProbeAnswered(AudioCaptureProbeOutcome outcome);
    void onRequestAnswered(AudioCaptureProbeOutcome outcome);
    void askInProcess(std::string_view reason, Completion completion = {});
    void applyForeground(AudioCaptureProbeOutcome outcome);
    void apply(AudioCaptureProbeOutcome outcome, std::string_view reason);
    AudioCaptureAccessState remember(AudioCaptureProbeOutcome outcome, std::string_view reason);
    void setState(AudioCaptureAccessState state);

    Observable<AudioCaptureAccessState> state_{AudioCaptureAccessState::checking};
    Observable<bool> recheckFoundAccessStillOff_{false};
    PermissionStore store_;
    Operations operations_;
    Workspace& workspace_;
    Log logger_;
    bool isProbing_ = false;       // a probe child is on its way; never two
    bool isProbeOutdated_ = false; // something newer than its answer is known
    bool isRecheckAsked_ = false;  // the user waits for its answer
    bool isRequesting_ = false;    // the user is being asked
    std::vector<Completion> awaitingProbe_;
    std::vector<Completion> awaitingRequest_;
    std::shared_ptr<AudioCapturePermissionModel*> self_; // replies refer to it weakly
};

} // namespace rewindle
