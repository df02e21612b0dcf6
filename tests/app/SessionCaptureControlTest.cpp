#include "app/SessionCaptureControl.h"
#include "app/SessionFixture.h"

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;
using Call = FakeAudioHardware::Call;
using Path = std::filesystem::path;

constexpr auto kClips = "/home/user/Music/rewindle";

/// The session with its control.
class SessionCaptureControlTest : public SessionFixture {
protected:
    SessionCaptureControlTest() {
        makeSession();
        control.emplace(SessionCaptureControl::Services{*session,
                                                        hardware,
                                                        queues.control,
                                                        exportQueue,
                                                        queues.main,
                                                        {files, writer, queues.clock},
                                                        Log(log, "Session")},
                        [this] { ++quits; });
        control->onClipExported = [this](const Path& path) { clips.push_back(path); };
        control->onCaptureStateChanged = [this] { ++changes; };
    }

    void settle() override {
        do
            queues.settle();
        while (exportQueue.runDue() > 0);
    }
    CaptureControl::ExportReply takeExport() {
        return [this](Result<Path> outcome) { exported.push_back(std::move(outcome)); };
    }
    CaptureStatus status() {
        std::optional<CaptureStatus> result;
        control->requestStatus([&](const CaptureStatus& now) { result = now; });
        settle();
        EXPECT_TRUE(result);
        return result.value_or(CaptureStatus{});
    }
    /// First and last frame of the clip that was made last.
    std::pair<float, float> lastClip() {
        if (exported.empty() || !exported.back()) return {-1, -1};
        const auto& left = files.files[exported.back().value()].left;
        return {left.front(), left.back()};
    }

    ManualSerialQueue exportQueue{"com.rewindle.export", queues.clock};
    FakeAudioFileWriter writer{files};
    std::optional<SessionCaptureControl> control;
    std::vector<Result<Path>> exported;
    std::vector<Path> clips;
    int changes = 0;
    int quits = 0;
};

TEST_F(SessionCaptureControlTest, ExportsTheNewestSecondsUpToTheMomentOfTheRequest) {
    begin();
    play(96'000); // still waits in the device
    for (const auto& [seconds, first] :
         {std::pair<double, float>{0.5, 72'000}, {0.01, 95'520}, {0.0100104, 95'520}, {2, 0}, {2.5, 0}, {1e300, 0}}) {
        SCOPED_TRACE(seconds);
        control->exportLast(seconds, {}, takeExport());
        settle();
        EXPECT_EQ(lastClip(), std::pair(first, 95'999.0F));
        queues.clock.advance(5ms); // another name for the next
    }
    ASSERT_FALSE(clips.empty());
    EXPECT_EQ(clips[0].parent_path(), kClips);
    EXPECT_EQ(clips.back(), exported.back().value());
}

TEST_F(SessionCaptureControlTest, ExportsAllThatIsHeldIntoTheFolderGivenTwiceInTheSameMillisecond) {
    begin();
    play(std::size_t{31} * 48'000); // one second more than is kept
    control->exportLast(0.5, "/home/user/new", takeExport());
    control->exportAll("/home/user/new", takeExport());
    settle();
    EXPECT_EQ(lastClip(), std::pair(48'000.0F, 31 * 48'000 - 1.0F));
    EXPECT_EQ(exported[0].value().parent_path(), "/home/user/new");
    EXPECT_EQ(files.files[exported[0].value()].left.size(), 24'000U);
    EXPECT_EQ(clips.size(), 2U);
}

TEST_F(SessionCaptureControlTest, SavesTheRangeThatIsMarkedAndTellsHowFarItIs) {
    begin();
    play(48'000);
    std::vector<double> told;
    const auto progress = [&](double fraction) { told.push_back(fraction); };
    const auto done = [&](const auto& outcome) {
        ASSERT_TRUE(outcome);
        exported.emplace_back(outcome.value());
        told.push_back(1);
    };
    control->saveClip(ClipRange{100, 200}, done, progress);
    settle();
    EXPECT_EQ(told, (std::vector{0.5, 1.0}));
    EXPECT_EQ(lastClip(), std::pair(100.0F, 199.0F));
}

TEST_F(SessionCaptureControlTest, FailedExportGivesItsReasonAndLeavesTheAudioAlone) {
    begin();
    control->exportAll({}, takeExport());
    settle();
    play(48'000);
    writer.failure = std::errc::no_space_on_device;
    control->exportAll({}, takeExport());
    settle();
    ASSERT_EQ(exported.size(), 2U);
    EXPECT_EQ(exported[0].error().message, "There is not enough audio to export.");
    EXPECT_THAT(exported[1].error().message, HasSubstr("No space left on device"));
    EXPECT_TRUE(clips.empty());

    writer.failure = {};
    control->exportAll({}, takeExport());
    settle();
    EXPECT_EQ(lastClip(), std::pair(0.0F, 47'999.0F));
}

TEST_F(SessionCaptureControlTest, StatusTellsWhatIsHeldAndHeardNow) {
    EXPECT_FALSE(status().running);
    begin();
    play(24'000);
    const auto now = status();
    EXPECT_TRUE(now.running);
    EXPECT_EQ(now.deviceUID, "speakers");
    EXPECT_EQ(now.deviceDescription, "Device speakers");
    EXPECT_EQ(now.durationSeconds, 30);
    EXPECT_EQ(now.retainedSeconds, 0.5);
    EXPECT_EQ(now.totalFrames, 24'000);
    EXPECT_NEAR(now.displayDB[1], -6.02, 0.01);
    EXPECT_NEAR(now.holdDB[1], -6.02, 0.01);
    EXPECT_EQ(now.lastError, "");
    EXPECT_EQ(log.count("Session: Capturing Device speakers (speakers)"), 1);
}

TEST_F(SessionCaptureControlTest, FreezeHoldsWhatIsThereAndIsTold) {
    begin();
    for (const bool frozen : {true, false}) {
        const auto total = status().totalFrames;
        const int before = changes;
        control->setFrozen(frozen);
        settle();
        play(4'800);
        EXPECT_EQ(status().frozen, frozen);
        EXPECT_EQ(status().totalFrames, total + (frozen ? 0 : 4'800));
        EXPECT_EQ(changes, before + 1);
    }
}

TEST_F(SessionCaptureControlTest, OutageIsToldUntilItIsOverAndBringsTheWindowForwardOnceButNoFailedFirstStart) {
    int shown = 0;
    session->setShowMainWindow([&] { ++shown; });
    hardware.refuse(Call::start, -5);
    begin();
    const std::string failure = "Failed to start system audio capture (error -5).";
    const std::string outage = "Audio capture stopped after an output change. It will retry automatically. (";
    for (const auto& told : {failure, outage + failure + ")", outage + failure + ")"}) {
        const int before = shown;
        queues.runFor(30s); // several rounds of tries
        EXPECT_EQ(status().lastError, told);
        EXPECT_FALSE(status().running);
        EXPECT_EQ(status().deviceDescription, "");
        EXPECT_EQ(shown - before, told == failure ? 0 : 1);
        hardware.allow(Call::start);
        queues.runFor(4s);
        EXPECT_TRUE(status().running);
        EXPECT_EQ(status().lastError, "");
        hardware.refuse(Call::start, -5);
        hardware.fire(AudioProperty::defaultOutputDevice);
    }
}

TEST_F(SessionCaptureControlTest, DurationChangesWhenTheAudioHasBeenMoved) {
    begin();
    play(48'000);
    std::vector<bool> replies;
    const auto reply = [&](const Result<void>& outcome) { replies.push_back(outcome.ok()); };
    const int before = changes;
    control->setDuration(31, reply);
    control->setDuration(600, reply);
    EXPECT_EQ(replies, std::vector{false}); // not before it is done
    EXPECT_EQ(status().durationSeconds, 600);
    EXPECT_EQ(replies, (std::vector{false, true}));
    EXPECT_EQ(changes, before + 1);
}

TEST_F(SessionCaptureControlTest, GainIsClampedAndMustBeANumber) {
    begin();
    for (const auto& [asked, set] : {std::pair(-6.0, -6.0F), std::pair(99.0, 20.0F), std::pair(-1e30, -20.0F)}) {
        EXPECT_TRUE(control->setGain(asked));
        EXPECT_EQ(status().gainDB, set);
    }
    EXPECT_FALSE(control->setGain(std::numeric_limits<double>::quiet_NaN()));
    play(4'800); // half of full scale
    EXPECT_EQ(status().gainDB, -20.0F);
    EXPECT_NEAR(status().displayDB[1], -26.02, 0.01);
}

TEST_F(SessionCaptureControlTest, EndsAfterTheExportsUnderWayAndTakesNoMore) {
    begin();
    play(48'000);
    control->quit();
    EXPECT_EQ(quits, 1);
    control->exportAll({}, takeExport());
    bool ended = false;
    control->shutDown([&] { ended = true; });
    queues.settle(); // capture has stopped; the clip is not written yet
    control->setFrozen(false);
    for (const auto outcome : {AudioCaptureProbeOutcome::denied, AudioCaptureProbeOutcome::granted}) {
        consent = outcome;
        session->permission().consentChanged();
    }
    session->settingsManager().setRecordingDuration(RecordingDuration::tenMinutes);
    queues.settle();
    play(48'000);
    EXPECT_FALSE(ended);
    control->exportAll({}, takeExport());
    ASSERT_EQ(exported.size(), 1U);
    EXPECT_FALSE(exported[0]);
    settle();
    EXPECT_TRUE(ended);
    EXPECT_EQ(lastClip(), std::pair(0.0F, 47'999.0F));
    EXPECT_EQ(hardware.liveObjects(), 0U);
}

TEST_F(SessionCaptureControlTest, WhatIsStillOnTheQueuesAtItsEndIsDropped) {
    begin();
    play(480);
    control->exportAll({}, takeExport());
    control->requestStatus([](const CaptureStatus&) { FAIL() << "nobody is there to ask"; });
    control->setDuration(600, [](const Result<void>&) {});
    control.reset();
    settle();
    EXPECT_TRUE(exported.empty());
}

} // namespace
} // namespace rewindle::test
