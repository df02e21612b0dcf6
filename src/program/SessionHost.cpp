#include "program/SessionHost.h"

#include "program/Environment.h"

#include <QCoreApplication>

namespace rewindle {

SessionHost::SessionHost(const Desktop& desktop, std::optional<RecordingDuration> durationForThisRun,
                         std::function<void()> onQuit)
    : log_(desktop.log), hardware_(controlQueue_, captureQueue_, clock_, log_, environmentText("REWINDLE_PASSIVE")),
      defaults_(JsonDefaultsStore::defaultFile(), Log(log_, "Settings")),
      consent_(ConsentRecord(ConsentRecord::defaultFile(), Log(log_, "Consent")), QDBusConnection::sessionBus(),
               Log(log_, "Consent")),
      session_({.settings = {.defaults = defaults_,
                             .loginItem = desktop.loginItem,
                             .files = files_,
                             .folderChooser = desktop.folderChooser,
                             .workspace = desktop.workspace},
                .permission = permissionOperations(),
                .sampler = {.hardware = hardware_,
                            .captureQueue = captureQueue_,
                            .controlQueue = controlQueue_,
                            .mainQueue = mainQueue_,
                            .clock = clock_,
                            .memory = memory_,
                            .log = log_,
                            .processIdentifier = QCoreApplication::applicationPid()},
                .log = Log(log_, "Session"),
                .durationForThisRun = durationForThisRun}),
      control_({.session = session_,
                .hardware = hardware_,
                .controlQueue = controlQueue_,
                .exportQueue = exportQueue_,
                .mainQueue = mainQueue_,
                .clips = {files_, writer_, clock_},
                .log = Log(log_, "Session")},
               std::move(onQuit)) {
    consent_.setChangeHandler([this] { session_.permission().consentChanged(); });
}

AudioCapturePermissionModel::Operations SessionHost::permissionOperations() {
    const Log log(log_, "AudioCapturePermission");
    return {.preflight = [this] { return AudioCaptureProbe::preflight(consent_); },
            .probe = [this](const auto& reply) { AudioCaptureProbe::probe(consent_, reply); },
            .request = [this, log](const auto& reply) { AudioCaptureProbe::request(consent_, log, reply); },
            .freshProbe =
                [this, log](const auto& reply) {
                    AudioCaptureProbe::freshProbe(
                        consent_, launcher_, log, [this, reply](AudioCaptureProbeOutcome fresh) {
                            // A no that this process knows of counts, whatever the child made of a store that did not answer.
                            const bool isRefused = consent_.preflight(kAudioCaptureConsent) == 1;
                            reply(isRefused ? AudioCaptureProbeOutcome::denied : fresh);
                        });
                }};
}

} // namespace rewindle
