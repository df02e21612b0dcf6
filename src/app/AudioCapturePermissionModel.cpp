#include "app/AudioCapturePermissionModel.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

namespace rewindle {
namespace {

using State = AudioCaptureAccessState;
using Outcome = AudioCaptureProbeOutcome;

constexpr std::string_view kLaunchReason = "launch reconciliation";
constexpr std::string_view kForegroundReason = "foreground fresh probe";
constexpr std::string_view kRegrantReason = "foreground re-grant";
constexpr std::string_view kRequestReason = "first-run request";
constexpr std::string_view kChangeReason = "consent change";

/// From the page in question to the settings as a whole: not every version knows every address.
constexpr std::array kSystemSettingsCandidates{
    "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension?Privacy_AudioCapture",
    "x-apple.systempreferences:com.apple.settings.PrivacySecurity.extension",
    "x-apple.systempreferences:com.apple.preference.security?Privacy"};

State stateAfter(Outcome outcome) {
    switch (outcome) {
    case Outcome::granted: return State::granted;
    case Outcome::denied: return State::needsSystemSettings;
    case Outcome::noEntry: break;
    }
    return State::firstRun;
}

std::string logLine(Outcome outcome, std::string_view reason) {
    const std::string why(reason);
    switch (outcome) {
    case Outcome::granted: return "System audio capture probe granted during " + why + ".";
    case Outcome::denied:
        return "TCC has a denied AudioCapture entry (" + why + "); showing System Settings guidance.";
    case Outcome::noEntry: break;
    }
    return "No TCC AudioCapture entry (" + why + "); showing first-run permission UI.";
}

void callAll(const std::vector<AudioCapturePermissionModel::Completion>& completions) {
    for (const auto& completion : completions) {
        if (completion) completion();
    }
}

} // namespace

AudioCapturePermissionModel::AudioCapturePermissionModel(DefaultsStore& defaults, Operations operations,
                                                         Workspace& workspace, Log log)
    : store_(defaults), operations_(std::move(operations)), workspace_(workspace), logger_(std::move(log)),
      self_(std::make_shared<AudioCapturePermissionModel*>(this)) {}

AudioCapturePermissionModel::~AudioCapturePermissionModel() = default;

bool AudioCapturePermissionModel::isPresumedGranted() const {
    return isGranted() || (state_.get() == State::checking && operations_.preflight());
}

void AudioCapturePermissionModel::reconcileOnLaunch(Completion completion) {
    if (store_.hasCompletedFlow()) return startFreshProbe(std::move(completion));
    logger_.info("Onboarding not started; showing first-run permission UI.");
    setState(State::firstRun);
    callAll({std::move(completion)});
}

void AudioCapturePermissionModel::requestAccess(Completion completion) {
    awaitingRequest_.push_back(std::move(completion));
    if (std::exchange(isRequesting_, true)) return;
    operations_.request([weak = std::weak_ptr(self_)](Outcome outcome) {
        if (const auto self = weak.lock()) (*self)->onRequestAnswered(outcome);
    });
}

void AudioCapturePermissionModel::onRequestAnswered(Outcome outcome) {
    isRequesting_ = false;
    isProbeOutdated_ = true;
    const auto completions = std::exchange(awaitingRequest_, {});
    recheckFoundAccessStillOff_.set(false); // the answer is newer than any recheck
    apply(outcome, kRequestReason);
    callAll(completions);
}

void AudioCapturePermissionModel::recheck(Completion completion) {
    if (isRequesting_ || state_.get() == State::checking) return callAll({std::move(completion)});
    isRecheckAsked_ = true; // a probe may be on its way already: the click may have brought the program to the front
    startFreshProbe(std::move(completion));
}

void AudioCapturePermissionModel::foregroundCheck(Completion completion) {
    // Before the user has been asked there is nothing that a child could find out.
    const auto state = state_.get();
    const bool isPointless = isRequesting_ || state == State::checking || state == State::firstRun;
    if (isPointless) return callAll({std::move(completion)});
    startFreshProbe(std::move(completion));
}

void AudioCapturePermissionModel::consentChanged() {
    isProbeOutdated_ = true;
    if (state_.get() != State::checking) askInProcess(kChangeReason); // launch reconciliation sees it by itself
}

void AudioCapturePermissionModel::startFreshProbe(Completion completion) {
    awaitingProbe_.push_back(std::move(completion));
    if (std::exchange(isProbing_, true)) return;
    isProbeOutdated_ = false;
    operations_.freshProbe([weak = std::weak_ptr(self_)](Outcome outcome) {
        if (const auto self = weak.lock()) (*self)->onFreshProbeAnswered(outcome);
    });
}

void AudioCapturePermissionModel::onFreshProbeAnswered(Outcome outcome) {
    isProbing_ = false;
    const auto finish = [this, isRecheck = std::exchange(isRecheckAsked_, false),
                         completions = std::exchange(awaitingProbe_, {})] {
        if (isRecheck) recheckFoundAccessStillOff_.set(!isGranted());
        callAll(completions);
    };
    const bool isLaunch = state_.get() == State::checking;
    // The child may have looked before the change. At launch nothing newer has been applied yet.
    if (isProbeOutdated_ && isLaunch) return askInProcess(kLaunchReason, finish);
    if (isLaunch) apply(outcome, kLaunchReason);
    if (!isLaunch && !isProbeOutdated_) applyForeground(outcome);
    finish();
}

void AudioCapturePermissionModel::askInProcess(std::string_view reason, Completion completion) {
    operations_.probe([weak = std::weak_ptr(self_), reason, completion = std::move(completion)](Outcome outcome) {
        const auto self = weak.lock();
        if (!self) return;
        (*self)->apply(outcome, reason);
        callAll({completion});
    });
}

void AudioCapturePermissionModel::applyForeground(Outcome outcome) {
    const bool isGrantedNow = outcome == Outcome::granted;
    const bool isRevoked = isGranted() && !isGrantedNow;
    const auto next = remember(outcome, isGrantedNow && !isGranted() ? kRegrantReason : kForegroundReason);
    if (!isRevoked) return setState(next);
    logger_.info("System audio capture access revoked while backgrounded; showing System Settings guidance.");
    setState(State::needsSystemSettings);
}

void AudioCapturePermissionModel::apply(Outcome outcome, std::string_view reason) {
    setState(remember(outcome, reason));
}

State AudioCapturePermissionModel::remember(Outcome outcome, std::string_view reason) {
    if (outcome == Outcome::noEntry) {
        store_.removeCompletedFlow();
    } else {
        store_.setCompletedFlow();
    }
    const auto next = stateAfter(outcome);
    // The same answer at every return to the foreground would fill the log.
    if (next == state_.get()) {
        logger_.debug(logLine(outcome, reason));
    } else {
        logger_.info(logLine(outcome, reason));
    }
    return next;
}

void AudioCapturePermissionModel::setState(State state) {
    if (state == State::granted) recheckFoundAccessStillOff_.set(false);
    state_.set(state);
}

void AudioCapturePermissionModel::openSystemSettings() {
    std::vector<std::string> candidates;
    for (const auto* const url : kSystemSettingsCandidates) {
        if (workspace_.canParse(url)) candidates.emplace_back(url);
    }
    logger_.info("Opening System Audio Recording deep link in System Settings.");
    const bool isOpen = std::ranges::any_of(candidates, [this](const auto& url) { return workspace_.open(url); });
    if (!isOpen) logger_.warning("No System Settings URL candidate could be opened.");
}

} // namespace rewindle
