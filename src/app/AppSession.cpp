#include "app/AppSession.h"

#include <utility>

namespace rewindle {

AppSession::AppSession(const Services& services)
    : log_(services.log), defaults_(services.settings.defaults), settingsManager_(services.settings),
      themeManager_(services.settings.defaults),
      permission_(services.settings.defaults, services.permission, services.settings.workspace,
                  Log(services.sampler.log, "AudioCapturePermission")),
      sampler_(services.durationForThisRun.value_or(settingsManager_.recordingDuration().get()),
               settingsManager_.captureGainDB().get(), services.sampler),
      lastDuration_(services.durationForThisRun.value_or(settingsManager_.recordingDuration().get())),
      lastGain_(settingsManager_.captureGainDB().get()), self_(std::make_shared<AppSession*>(this)) {
    const auto kept = keptDuration();
    if (kept != lastDuration_) tellRefusal(lastDuration_);
    lastDuration_ = kept;
    settingsManager_.overrideRecordingDuration(kept); // for this run: the next one may have the memory
    observations_.push_back(sampler_.outputDeviceUID().observe([this] { onOutputDeviceResolved(); }));
}

AppSession::~AppSession() = default;

void AppSession::begin() {
    const auto evaluate = [this] { evaluateCaptureState(); };
    observations_.push_back(permission_.state().observe(evaluate));
    observations_.push_back(settingsManager_.recordingDuration().observe(evaluate));
    observations_.push_back(settingsManager_.captureGainDB().observe(evaluate));
    evaluateCaptureState();
}

void AppSession::evaluateCaptureState() {
    if (isStopped_) return;
    const bool allowed = permission_.isGranted();
    if (allowed != lastCaptureAllowed_) {
        lastCaptureAllowed_ = allowed;
        if (!allowed) {
            forgetOutage();
            return sampler_.stop();
        }
        sampler_.unfreeze();
        return startCapture();
    }
    const auto duration = settingsManager_.recordingDuration().get();
    if (duration != lastDuration_ && !isApplyingDuration_) return applyDuration(duration);
    const float gain = settingsManager_.captureGainDB().get();
    if (gain == lastGain_) return;
    lastGain_ = gain;
    sampler_.setGain(gain, false);
}

void AppSession::startCapture() {
    Rewindle::Callbacks callbacks;
    // On the control queue: the session is not touched, only the store, which outlives it.
    callbacks.captureGainDBForOutputDeviceUID = [&defaults = defaults_](const std::string& uid) {
        return SettingsManager::persistedCaptureGainDB(defaults, uid);
    };
    callbacks.onOutputDeviceUIDChanged = [weak = std::weak_ptr(self_)](const std::string& uid) {
        if (const auto self = weak.lock()) (*self)->onOutputDeviceChanged(uid);
    };
    callbacks.onCaptureStartFailed = [weak = std::weak_ptr(self_)](const CoreAudioTapCaptureError& error) {
        if (const auto self = weak.lock()) (*self)->onCaptureStartFailed(error);
    };
    callbacks.onCaptureRestartFailed = [weak = std::weak_ptr(self_)](const CoreAudioTapCaptureError& error) {
        if (const auto self = weak.lock()) (*self)->onCaptureRestartFailed(error);
    };
    sampler_.start(std::move(callbacks));
}

void AppSession::applyDuration(RecordingDuration duration) {
    lastDuration_ = duration;
    refusedDuration_.reset();
    isApplyingDuration_ = true;
    sampler_.setDuration(duration, [weak = std::weak_ptr(self_)](bool isDone) {
        if (const auto self = weak.lock()) (*self)->onDurationApplied(isDone);
    });
}

RecordingDuration AppSession::keptDuration() {
    const auto kept = recordingDurationFromSeconds(static_cast<int>(sampler_.ringBuffer().get()->durationSeconds));
    return kept.value_or(lastDuration_);
}

void AppSession::tellRefusal(RecordingDuration duration) {
    log_.warning("There is not enough memory to keep the last " + std::string(label(duration)) +
                 ", only for the last " + std::string(label(keptDuration())) + ".");
}

void AppSession::onDurationApplied(bool isDone) {
    isApplyingDuration_ = false;
    if (!isDone) {
        tellRefusal(lastDuration_);
        refusedDuration_ = std::exchange(lastDuration_, keptDuration());
        if (settingsManager_.recordingDuration().get() == refusedDuration_)
            settingsManager_.setRecordingDuration(lastDuration_); // nothing has changed
    }
    if (lastCaptureAllowed_ && !isStopped_) startCapture(); // it runs already, unless it could not be started before
    evaluateCaptureState();                                 // for changes that were held back meanwhile
    if (isApplyingDuration_) return;
    for (const auto& completion : std::exchange(awaitingDuration_, {}))
        completion();
}

void AppSession::whenDurationIsApplied(std::function<void()> completion) {
    if (!isApplyingDuration_) return completion();
    awaitingDuration_.push_back(std::move(completion));
}

void AppSession::onOutputDeviceChanged(const std::string& uid) {
    sampler_.setGain(settingsManager_.applyCaptureGainForOutputDevice(uid), false);
}

void AppSession::onOutputDeviceResolved() {
    if (!sampler_.outputDeviceUID().get().empty()) forgetOutage();
}

void AppSession::forgetOutage() {
    hasReportedOutage_ = false;
    captureErrorMessage_.set(std::nullopt);
}

void AppSession::onCaptureStartFailed(const CoreAudioTapCaptureError& error) {
    log_.warning(error.message());
    captureErrorMessage_.set(error.message());
}

void AppSession::onCaptureRestartFailed(const CoreAudioTapCaptureError& error) {
    const auto message =
        "Audio capture stopped after an output change. It will retry automatically. (" + error.message() + ")";
    log_.warning(message);
    captureErrorMessage_.set(message);
    // One outage can fail many times; a window that came forward each time would be in the way.
    if (!std::exchange(hasReportedOutage_, true) && showMainWindow_) showMainWindow_();
}

void AppSession::stopCapture(std::function<void()> completion) {
    isStopped_ = true;
    sampler_.stop(std::move(completion));
}

} // namespace rewindle
