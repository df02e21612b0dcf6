#pragma once

#include "app/Actions.h"
#include "app/AppSession.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAudioHardware.h"
#include "fakes/FakeCaptureControl.h"
#include "fakes/FakeDefaultsStore.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeFileSystem.h"
#include "fakes/HeapAudioMemory.h"
#include "fakes/ManualQueues.h"
#include "fakes/ManualTimers.h"
#include "ui/components/NightfallTheme.h"
#include "ui/waveform/WaveformServices.h"
#include "waveform/EngineFreeze.h"
#include "waveform/WaveformViewFixture.h"

#include <optional>

namespace rewindle {

/// A session on a made-up computer, brought into the situation that a picture shows.
class Scene {
public:
    struct Situation {
        bool hasSeenOnboarding = true;
        AudioCaptureProbeOutcome consent = AudioCaptureProbeOutcome::granted;
        bool hasBeenAsked = true;
        bool showLevelMeter = false;
        int musicSeconds = 192; // that have been heard, at most as long as is kept
    };
    explicit Scene(const Situation& situation);

    /// The sound server stops working until further notice.
    void breakCapture();
    /// Has the computer play music until it keeps that much, and shows the newest of it.
    void playMusic(int seconds);
    void settle() { queues_.settle(); }
    /// Lets the waveform come to rest after what was done with it.
    void rest(WaveformView& view);

    [[nodiscard]] AppSession& session() { return *session_; }
    [[nodiscard]] test::FakeCaptureControl& control() { return control_; }
    [[nodiscard]] test::FakeOutlets& outlets() { return outlets_; }
    [[nodiscard]] const WaveformServices& waveform() const { return *waveform_; }
    [[nodiscard]] DefaultsStore& defaults() { return defaults_; }
    [[nodiscard]] NightfallTheme& theme() { return *theme_; }
    [[nodiscard]] const Actions& actions() const { return actions_; }

private:
    void makeSession(AudioCaptureProbeOutcome consent);

    test::ManualQueues queues_;
    test::CapturingLogSink log_;
    test::HeapAudioMemory memory_;
    test::FakeAudioHardware hardware_{queues_.control};
    test::FakeFileSystem files_;
    test::FakeDefaultsStore defaults_;
    test::FakeLoginItemService loginItem_;
    test::FakeFolderChooser folderChooser_;
    test::FakeWorkspace workspace_;
    test::FakeCaptureControl control_;
    Actions actions_;
    std::optional<AppSession> session_;
    test::ManualTimers timers_;
    FrameTimingLog timingLog_{{}, queues_.clock};
    WindowAnimationDrivers drivers_{{queues_.clock, timers_, timingLog_, log_}};
    test::FakeAudition audition_;
    test::FakeOutlets outlets_;
    std::optional<EngineFreeze> freeze_;
    std::optional<WaveformServices> waveform_;
    std::optional<NightfallTheme> theme_;
};

} // namespace rewindle
