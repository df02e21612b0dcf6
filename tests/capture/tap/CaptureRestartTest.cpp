#include "capture/tap/TapCaptureFixture.h"

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using Call = FakeAudioHardware::Call;
using Kind = CoreAudioTapCaptureError::Kind;

using CaptureRestartTest = TapCaptureFixture;

TEST_F(CaptureRestartTest, RestartsOnceForEventsWithinEightyMillisecondsUnderTheLastReason) {
    ASSERT_TRUE(start());
    fire(AudioProperty::defaultOutputDevice);
    queues.runFor(79ms);
    fire(AudioProperty::outputDataSource, kSpeakers);
    queues.runFor(79ms);
    EXPECT_EQ(hardware.starts(), 1);
    queues.runFor(1ms);
    EXPECT_THAT(restarts(), ElementsAre("output data source changed 1"));
    EXPECT_EQ(hardware.starts(), 2);
    EXPECT_EQ(log.count("[route] scheduling restart, reason=default output device changed"), 1);
    EXPECT_EQ(log.count("[route] coalescing pending restart; superseding reason=output data source changed"), 1);

    fire(AudioProperty::tapInterrupted, hardware.aggregate());
    queues.runFor(80ms);
    EXPECT_EQ(restarts().back(), "audio hardware devices changed 1");
    EXPECT_FALSE(queues.nextDue());
}

/// A running capture that loses its output: every start fails from the first restart on.
class FailingCaptureRestartTest : public TapCaptureFixture {
protected:
    void loseOutput() {
        ASSERT_TRUE(start());
        hardware.refuse(Call::start, -110);
        fire(AudioProperty::defaultOutputDevice);
    }
};

TEST_F(FailingCaptureRestartTest, TriesSixTimesWithGrowingPausesReportsOnceAndBeginsAgainUntilItIsGone) {
    loseOutput();
    const struct {
        std::chrono::milliseconds pause;
        const char* restart;
    } schedule[] = {{80ms, "default output device changed 1"},
                    {150ms, "retry 2"},
                    {350ms, "retry 3"},
                    {750ms, "retry 4"},
                    {1500ms, "retry 5"},
                    {2000ms, "retry 6"},
                    {3000ms, "recovery 1"},
                    {150ms, "retry 2"}};
    std::vector<std::string> expected;
    for (const auto& [pause, restart] : schedule) {
        SCOPED_TRACE(restart);
        queues.runFor(pause - 1ms);
        EXPECT_EQ(restarts(), expected);
        queues.runFor(1ms);
        expected.emplace_back(restart);
        EXPECT_EQ(restarts(), expected);
        EXPECT_EQ(failures.size(), expected.size() < 6 ? 0U : 1U);
        EXPECT_EQ(hardware.liveObjects(), 3U); // the listeners: default device, devices, data source
        EXPECT_EQ(log.count("Capture restart failed (attempt "), static_cast<int>(expected.size()));
    }
    EXPECT_EQ(failures.at(0), (CoreAudioTapCaptureError{Kind::deviceStartFailed, -110}));
    EXPECT_EQ(log.count("Capture restart failed (attempt 6): Failed to start system audio capture (error -110)."), 1);
    queues.runFor(20s);
    EXPECT_EQ(failures.size(), 3U) << "one report for each run through the schedule";
    const auto tries = restarts().size();
    queues.control.sync([&] { tap.reset(); });
    queues.runFor(20s);
    EXPECT_EQ(restarts().size(), tries);
}

TEST_F(FailingCaptureRestartTest, EndsItsTriesWhenOneWorksOrItIsStoppedInWhateverPause) {
    for (const auto moment : {40ms, 100ms, 1000ms, 6000ms}) { // debounce, first retry, a later one, recovery
        for (const bool isStopped : {false, true}) {
            SCOPED_TRACE(testing::Message() << moment.count() << (isStopped ? " ms, stopped" : " ms"));
            tap->setCallbacks(callbacks());
            loseOutput();
            queues.runFor(moment);
            if (isStopped) stop();
            hardware.allow(Call::start);
            if (!isStopped) queues.runFor(3s);
            EXPECT_EQ(hardware.aggregate() != kNoAudioObject, !isStopped);
            EXPECT_FALSE(queues.nextDue()) << "a restart still waits";
            const auto tries = restarts().size();
            if (isStopped) fire(AudioProperty::defaultOutputDevice);
            if (isStopped) fire(AudioProperty::hardwareDevices);
            queues.runFor(10s);
            EXPECT_EQ(restarts().size(), tries);
            stop();
            EXPECT_EQ(hardware.liveObjects(), 0U);
        }
    }
}

TEST_F(FailingCaptureRestartTest, ARouteEventTakesThePlaceOfTheRetryThatWaits) {
    loseOutput();
    queues.runFor(80ms + 150ms + 350ms);
    ASSERT_THAT(restarts(), ElementsAre("default output device changed 1", "retry 2", "retry 3"));
    hardware.allow(Call::start);
    fire(AudioProperty::defaultOutputDevice);
    queues.runFor(10s);
    EXPECT_EQ(restarts().back(), "default output device changed 1");
    EXPECT_EQ(restarts().size(), 4U) << "the retry ran beside the restart";
}

} // namespace
} // namespace rewindle::test
