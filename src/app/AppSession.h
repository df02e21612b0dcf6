#pragma once

#include "app/AudioCapturePermissionModel.h"
#include "base/Log.h"
#include "base/Observable.h"
#include "capture/engine/Rewindle.h"
#include "settings/SettingsManager.h"
#include "settings/ThemeManager.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace rewindle {

/// Settings, themes, consent and the capture engine, and what ties them together: capture runs exactly while access is
/// granted, and the engine follows the settings.
///
/// Threads:   interface thread.
/// Lifecycle: one per process, with windows or without. Callbacks of the engine that come after its end do nothing.
class AppSession {
public:
    /// All of it outlives the session.
    struct Services {
        SettingsManager::Services settings;
        AudioCapturePermissionModel::Operations permission;
        Rewindle::Services sampler;
        Log log;
        std::optional<RecordingDuration> durationForThisRun; // instead of the stored one
    };
    explicit AppSession(const Services& services);
    ~AppSession();
    AppSession(const AppSession&) = delete;
    AppSession& operator=(const AppSession&) = delete;

    [[nodiscard]] SettingsManager& settingsManager() { return settingsManager_; }
    [[nodiscard]] ThemeManager& themeManager() { return themeManager_; }
    [[nodiscard]] AudioCapturePermissionModel& permission() { return permission_; }
    [[nodiscard]] Rewindle& sampler() { return sampler_; }
    /// Why nothing is captured although it should be; none while all is well.
    [[nodiscard]] const Observable<std::optional<std::string>>& captureErrorMessage() const {
        return captureErrorMessage_;
    }
    /// Shows the main window, once there is one.
    void setShowMainWindow(std::function<void()> show) { showMainWindow_ = std::move(show); }

    /// The first evaluation, after launch; from then on each change of consent, duration and gain brings another.
    void begin();
    /// The duration that was set last, if there was no memory for it.
    [[nodiscard]] std::optional<RecordingDuration> refusedDuration() const { return refusedDuration_; }
    /// Calls back when the engine keeps as much as the settings say: at once when it does already.
    void whenDurationIsApplied(std::function<void()> completion);
    /// Brings the engine in line with consent and settings, by one step.
    void evaluateCaptureState();
    /// The quit hook: ends capture for good. `completion` comes when it has ended.
    void stopCapture(std::function<void()> completion);

private:
    void startCapture();
    void applyDuration(RecordingDuration duration);
    void onDurationApplied(bool isDone);
    [[nodiscard]] RecordingDuration keptDuration();
    void tellRefusal(RecordingDuration duration);
    void onOutputDeviceChanged(const std::string& uid);
    void onOutputDeviceResolved();
    void forgetOutage();
    void onCaptureStartFailed(const CoreAudioTapCaptureError& error);
    void onCaptureRestartFailed(const CoreAudioTapCaptureError& error);

    Log log_;
    DefaultsStore& defaults_;
    SettingsManager settingsManager_;
    ThemeManager themeManager_;
    AudioCapturePermissionModel permission_;
    Rewindle sampler_;
    Observable<std::optional<std::string>> captureErrorMessage_;
    bool lastCaptureAllowed_ = false;
    RecordingDuration lastDuration_;
    std::optional<RecordingDuration> refusedDuration_;
    float lastGain_; // dB
    bool isApplyingDuration_ = false;
    bool isStopped_ = false;         // quitting: nothing starts again
    bool hasReportedOutage_ = false; // the window has been brought forward for the outage that goes on
    std::function<void()> showMainWindow_;
    std::vector<std::function<void()>> awaitingDuration_;
    std::vector<Observation> observations_;
    std::shared_ptr<AppSession*> self_; // the engine's callbacks refer to it weakly
};

} // namespace rewindle
