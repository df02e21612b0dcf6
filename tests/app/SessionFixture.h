#pragma once

#include "app/AppSession.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAudioHardware.h"
#include "fakes/FakeDefaultsStore.h"
#include "fakes/FakeDesktop.h"
#include "fakes/FakeFileSystem.h"
#include "fakes/HeapAudioMemory.h"
#include "fakes/ManualQueues.h"

#include <gmock/gmock.h>

#include <limits>
#include <numeric>

namespace rewindle::test {

/// A session between two output devices, of which the speakers are the default, and a user whose consent is the
/// test's to give. The left samples that are played count the frames, the right ones are all 0.5.
class SessionFixture : public testing::Test {
protected:
    static constexpr AudioObjectID kSpeakers = 50, kHeadphones = 51;

    SessionFixture() {
        defaults.stored("capture.recordingDuration", std::int64_t{30});
        defaults.stored(PermissionStore::kFlowKey, true); // asked in an earlier run
    }
    ~SessionFixture() override { EXPECT_THAT(hardware.violations(), testing::IsEmpty()); }

    void makeSession(std::optional<RecordingDuration> durationForThisRun = {}) {
        const auto answer = [this](const AudioCaptureProbe::Reply& reply) { reply(consent); };
        const auto isGranted = [this] { return consent == AudioCaptureProbeOutcome::granted; };
        session.emplace(AppSession::Services{
            .settings = {defaults, loginItem, files, folderChooser, workspace},
            .permission = {.preflight = isGranted, .probe = answer, .request = answer, .freshProbe = answer},
            .sampler = {hardware, queues.capture, queues.control, queues.main, queues.clock, memory, log, 77},
            .log = Log(log, "Session"),
            .durationForThisRun = durationForThisRun});
    }
    /// Launches it, as the program does.
    void begin() {
        if (!session) makeSession();
        session->begin();
        session->permission().reconcileOnLaunch();
        settle();
    }
    void setConsent(AudioCaptureProbeOutcome outcome) {
        consent = outcome;
        session->permission().consentChanged();
        settle();
    }
    virtual void settle() { queues.settle(); }
    void play(std::size_t frames) {
        std::vector<float> left(frames);
        std::iota(left.begin(), left.end(), static_cast<float>(played));
        hardware.play(left, std::vector<float>(frames, 0.5F));
        played += frames;
    }
    void switchTo(AudioObjectID device) {
        hardware.switchTo(device);
        queues.runFor(std::chrono::milliseconds(100));
    }
    /// The right sample that was retained last: what the gain has made of 0.5.
    float lastLevel() {
        play(4'800); // past every fade
        session->sampler().drain([] {});
        settle();
        const auto samples = session->sampler().ringBuffer().get()->copyFrames(0, std::numeric_limits<int>::max());
        return samples.right.data()[samples.right.size() - 1];
    }

    ManualQueues queues;
    CapturingLogSink log;
    HeapAudioMemory memory;
    FakeAudioHardware hardware{queues.control};
    FakeFileSystem files;
    FakeDefaultsStore defaults;
    FakeLoginItemService loginItem;
    FakeFolderChooser folderChooser;
    FakeWorkspace workspace;
    AudioCaptureProbeOutcome consent = AudioCaptureProbeOutcome::granted;
    std::optional<AppSession> session;
    std::size_t played = 0;
};

} // namespace rewindle::test
