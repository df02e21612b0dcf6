#include "app/SessionFixture.h"

#include <cmath>

namespace rewindle::test {
namespace {

using Outcome = AudioCaptureProbeOutcome;

class AppSessionTest : public SessionFixture {
protected:
    /// Those that the device still held included.
    [[nodiscard]] std::int64_t frames() {
        session->sampler().drain([] {});
        settle();
        return session->sampler().ringBuffer().get()->info().totalFramesWritten;
    }
    static float halfAt(float gainDB) { return 0.5F * std::pow(10.0F, gainDB / 20); }
};

TEST_F(AppSessionTest, CapturesExactlyWhileAccessIsGrantedAndKeepsWhatItHas) {
    makeSession();
    session->begin();
    settle();
    EXPECT_FALSE(session->sampler().isRunning().get()); // nothing is known of the consent yet
    session->permission().reconcileOnLaunch();
    settle();
    play(4'800);
    for (const auto withdrawn : {Outcome::denied, Outcome::noEntry}) {
        setConsent(withdrawn);
        EXPECT_FALSE(session->sampler().isRunning().get());
        EXPECT_TRUE(session->sampler().isFrozen().get());
        session->settingsManager().setCaptureGainDB(-3); // counts later, and starts nothing
        settle();
        EXPECT_EQ(hardware.liveObjects(), 0U); // no tap is left that could hear
        const auto kept = frames();
        EXPECT_EQ(kept, static_cast<std::int64_t>(played));
        setConsent(Outcome::granted);
        EXPECT_FALSE(session->sampler().isFrozen().get());
        play(4'800);
        EXPECT_EQ(frames(), kept + 4'800);
    }
}

TEST_F(AppSessionTest, DurationFollowsTheSettingAndNoChangeIsLostWhileAnotherIsApplied) {
    makeSession(RecordingDuration::fortyFiveSeconds); // for this run only
    begin();
    EXPECT_EQ(session->sampler().ringBuffer().get()->durationSeconds, 45);
    EXPECT_EQ(defaults.value<std::int64_t>("capture.recordingDuration"), 30);
    play(48'000);
    auto& settings = session->settingsManager();
    const auto revision = session->sampler().ringBufferRevision().get();
    std::vector<int> applied;
    const auto note = [&](int which) { return [&applied, which] { applied.push_back(which); }; };
    settings.setRecordingDuration(RecordingDuration::oneMinute);
    session->whenDurationIsApplied(note(1));
    settings.setRecordingDuration(RecordingDuration::tenMinutes); // while the first is on its way
    session->whenDurationIsApplied(note(2));
    EXPECT_TRUE(applied.empty());
    settle();
    session->whenDurationIsApplied(note(3));
    EXPECT_EQ(applied, (std::vector{1, 2, 3}));
    EXPECT_EQ(session->sampler().ringBuffer().get()->durationSeconds, 600);
    EXPECT_EQ(session->sampler().ringBufferRevision().get(), revision + 2);
    EXPECT_EQ(frames(), 48'000);
    EXPECT_EQ(hardware.starts(), 1); // no tap was torn down for it
}

TEST_F(AppSessionTest, GainFollowsTheOutputDeviceFromItsFirstBufferOn) {
    defaults.stored("capture.gainByDeviceUID", DefaultsDictionary{{"speakers", -20}, {"headphones", -6}});
    hardware.onStart = [this] { // audio comes before the start has even returned
        play(1);
        hardware.wake();
        queues.capture.runDue();
    };
    begin();
    hardware.onStart = nullptr;
    EXPECT_FLOAT_EQ(session->sampler().ringBuffer().get()->peakAmplitude(0, 1), halfAt(-20));
    auto& settings = session->settingsManager();
    settings.setCaptureGainDB(3);
    EXPECT_NEAR(lastLevel(), halfAt(3), 1e-5);
    switchTo(kHeadphones);
    EXPECT_EQ(settings.captureGainDB().get(), -6);
    EXPECT_NEAR(lastLevel(), halfAt(-6), 1e-5);
    switchTo(kSpeakers);
    EXPECT_EQ(settings.captureGainDB().get(), 3);
    EXPECT_NEAR(lastLevel(), halfAt(3), 1e-5);
}

} // namespace
} // namespace rewindle::test
