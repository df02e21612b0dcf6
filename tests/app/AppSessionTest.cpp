#include "app/SessionFixture.h"

#include <cmath>

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using Call = FakeAudioHardware::Call;
using Outcome = AudioCaptureProbeOutcome;

class AppSessionTest : public SessionFixture {
protected:
    /// Those that the device still held included.
    [[nodiscard]] std::int64_t frames() {
        session->sampler().drain([] {});
        settle();
        return session->sampler().ringBuffer().get()->info().totalFramesWritten;
    }
    [[nodiscard]] std::string message() const { return session->captureErrorMessage().get().value_or(""); }
    static float halfAt(float gainDb) { return 0.5F * std::pow(10.0F, gainDb / 20); }
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
    begin();
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

TEST_F(AppSessionTest, DurationOfOneRunIsNotStored) {
    makeSession(RecordingDuration::tenMinutes);
    begin();
    EXPECT_EQ(session->sampler().ringBuffer().get()->durationSeconds, 600);
    EXPECT_EQ(defaults.value<std::int64_t>("capture.recordingDuration"), 30);
}

TEST_F(AppSessionTest, GainFollowsTheOutputDevice) {
    defaults.stored("capture.gainByDeviceUID", DefaultsDictionary{{"headphones", -6}});
    begin();
    auto& settings = session->settingsManager();
    EXPECT_FLOAT_EQ(lastLevel(), 0.5F);
    settings.setCaptureGainDB(3);
    EXPECT_NEAR(lastLevel(), halfAt(3), 1e-5);
    switchTo(kHeadphones);
    EXPECT_EQ(settings.captureGainDB().get(), -6);
    EXPECT_NEAR(lastLevel(), halfAt(-6), 1e-5);
    switchTo(kSpeakers);
    EXPECT_EQ(settings.captureGainDB().get(), 3);
    EXPECT_NEAR(lastLevel(), halfAt(3), 1e-5);
}

TEST_F(AppSessionTest, FirstBuffersOfADeviceCarryItsGainAlready) {
    defaults.stored("capture.gainByDeviceUID", DefaultsDictionary{{"speakers", -20}});
    begin();
    play(4'800);
    session->sampler().drain([] {});
    settle();
    const auto samples = session->sampler().ringBuffer().get()->copyFrames(0, 4'800);
    EXPECT_LE(*std::max_element(samples.right.data(), samples.right.data() + samples.right.size()),
              halfAt(-20) + 1e-6);
}

TEST_F(AppSessionTest, GainSetWithoutAccessCountsLaterAndStartsNothing) {
    consent = Outcome::denied;
    begin();
    session->settingsManager().setCaptureGainDB(-3);
    settle();
    EXPECT_EQ(hardware.starts(), 0);
    EXPECT_FALSE(session->sampler().isRunning().get());
}

TEST_F(AppSessionTest, OutageIsToldUntilItIsOverAndBringsTheWindowForwardOnce) {
    int shown = 0;
    begin();
    session->setShowMainWindow([&] { ++shown; });
    for (int outage = 1; outage <= 2; ++outage) {
        hardware.refuse(Call::start, -5);
        hardware.fire(AudioProperty::defaultOutputDevice);
        queues.runFor(30s); // several rounds of tries
        EXPECT_EQ(message(), "Audio capture stopped after an output change. It will retry automatically. (Failed to "
                             "start system audio capture (error -5).)");
        EXPECT_EQ(shown, outage);
        hardware.allow(Call::start);
        queues.runFor(4s);
        EXPECT_EQ(message(), "");
    }
}

TEST_F(AppSessionTest, FailedFirstStartIsToldWithoutTheWindowComingForward) {
    int shown = 0;
    hardware.refuse(Call::createTap, -111);
    makeSession();
    session->setShowMainWindow([&] { ++shown; });
    begin();
    queues.runFor(10s);
    EXPECT_EQ(message(), "Failed to create system audio tap (error -111).");
    hardware.allow(Call::createTap);
    queues.runFor(3s);
    EXPECT_EQ(message(), "");
    EXPECT_EQ(shown, 0);
}

TEST_F(AppSessionTest, NothingStartsAgainAfterTheQuitHook) {
    begin();
    bool stopped = false;
    session->stopCapture([&] { stopped = true; });
    setConsent(Outcome::denied);
    setConsent(Outcome::granted);
    session->settingsManager().setRecordingDuration(RecordingDuration::tenMinutes);
    settle();
    EXPECT_TRUE(stopped);
    EXPECT_EQ(hardware.liveObjects(), 0U);
}

TEST_F(AppSessionTest, CallbacksAfterItsEndDoNothing) {
    begin();
    hardware.setDefaultDevice(kHeadphones);
    hardware.fire(AudioProperty::defaultOutputDevice);
    session->settingsManager().setRecordingDuration(RecordingDuration::tenMinutes);
    session.reset();
    queues.runFor(10s);
    EXPECT_EQ(hardware.liveObjects(), 0U);
}

} // namespace
} // namespace rewindle::test
