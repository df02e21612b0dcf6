#include "capture/CoreAudioTapCapture.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAudioHardware.h"
#include "fakes/ManualQueues.h"

#include <gmock/gmock.h>

#include <span>

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Call = FakeAudioHardware::Call;
using Kind = CoreAudioTapCaptureError::Kind;

constexpr AudioObjectID kSpeakers = 50, kHeadphones = 51, kDisplay = 52;
constexpr std::int64_t kPid = 77;

/// Speakers (with a data source) and headphones (without); the speakers are the default.
class CoreAudioTapCaptureTest : public testing::Test {
protected:
    CoreAudioTapCaptureTest() {
        hardware.addDevice(kSpeakers, "speakers", true);
        hardware.addDevice(kHeadphones, "headphones");
        hardware.setDefaultDevice(kSpeakers);
        tap->setCallbacks(callbacks());
    }
    ~CoreAudioTapCaptureTest() override { EXPECT_THAT(hardware.violations(), IsEmpty()); }

    CoreAudioTapCapture::Callbacks callbacks() {
        CoreAudioTapCapture::Callbacks result;
        result.onBuffer = [this](const AudioPCMBuffer& buffer) { framesReceived += buffer.frameLength; };
        result.onOutputDeviceUIDChanged = [this](const std::string& uid) { changedUids.push_back(uid); };
        result.onCaptureRestartFailed = [this](const CoreAudioTapCaptureError& error) {
            failures.push_back(error);
        };
        result.onOutputDeviceChosen = [this](const std::string& uid) { events.push_back("chosen " + uid); };
        result.onOutputDeviceResolved = [this](const std::string& uid) {
            events.push_back("resolved " + uid);
        };
        result.onCaptureRestartSeam = [this] {
            events.push_back("seam, " + std::to_string(hardware.aggregate()) + " devices, " +
                             std::to_string(framesReceived) + " frames");
        };
        return result;
    }

    CoreAudioTapCapture::StartResult start() {
        CoreAudioTapCapture::StartResult result;
        queues.control.sync([&] { result = tap->start(); });
        queues.settle();
        return result;
    }
    void stop() {
        queues.control.sync([&] { tap->stop(); });
        queues.settle();
    }
    void fire(AudioProperty property, AudioObjectID object = kNoAudioObject) {
        hardware.fire(property, object);
        queues.settle();
    }
    /// The reasons and numbers of the restarts so far, as the log tells them: "retry 2".
    std::vector<std::string> restarts() const {
        std::vector<std::string> found;
        for (const auto& line : log.lines()) {
            const std::string before = "Output route changed (", between = "); restarting capture (attempt ";
            const auto first = line.find(before);
            const auto second = line.find(between);
            if (first == line.npos) continue;
            const auto reason = line.substr(first + before.size(), second - first - before.size());
            found.push_back(reason + " " + line.substr(second + between.size(), 1));
        }
        return found;
    }

    ManualQueues queues;
    CapturingLogSink log;
    FakeAudioHardware hardware{queues.control};
    std::shared_ptr<CoreAudioTapCapture> tap = std::make_shared<CoreAudioTapCapture>(
        hardware, queues.capture, queues.control, queues.main, log, kPid);
    std::int64_t framesReceived = 0;
    std::vector<std::string> changedUids, events;
    std::vector<CoreAudioTapCaptureError> failures;
};

TEST_F(CoreAudioTapCaptureTest, StartsByTappingTheWholeMixOnTheDefaultOutputDevice) {
    ASSERT_TRUE(start());
    EXPECT_THAT(hardware.calls(), ElementsAre("create tap", "create aggregate", "create proc", "start"));
    EXPECT_THAT(events, ElementsAre("chosen speakers", "resolved speakers"));
    EXPECT_EQ(log.count("CoreAudioTap: Capture started for output device speakers."), 1);

    const auto tapped = hardware.tapDescription();
    EXPECT_THAT(tapped.excludedProcesses, ElementsAre(kPid + 1000));
    EXPECT_TRUE(tapped.isPrivate);
    EXPECT_THAT(tapped.uuid,
                testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));

    const auto device = hardware.aggregateDescription();
    EXPECT_EQ(device.name, "rewindle Tap");
    EXPECT_EQ(device.master, "speakers");
    EXPECT_TRUE(device.isPrivate && device.tapAutoStart && !device.isStacked);
    ASSERT_EQ(device.subdevices.size(), 1U);
    EXPECT_EQ(device.subdevices[0].uid, "speakers");
    ASSERT_EQ(device.taps.size(), 1U);
    EXPECT_TRUE(device.taps[0].drift);
    EXPECT_EQ(device.taps[0].uid, tapped.uuid);
    EXPECT_NE(device.uid, tapped.uuid);
}

TEST_F(CoreAudioTapCaptureTest, ExcludesNothingWhenItsOwnProcessIsUnknown) {
    hardware.refuse(Call::translate, -2);
    ASSERT_TRUE(start());
    EXPECT_THAT(hardware.tapDescription().excludedProcesses, IsEmpty());
}

TEST_F(CoreAudioTapCaptureTest, StopsByTakingEverythingDownAndHearsNothingAfterwards) {
    ASSERT_TRUE(start());
    const auto lateCycle = hardware.lastProc();
    hardware.fire(AudioProperty::defaultOutputDevice); // told before the stop, heard after it
    hardware.forgetCalls();
    stop();
    EXPECT_THAT(hardware.calls(), ElementsAre("stop", "destroy proc", "destroy aggregate", "destroy tap"));
    EXPECT_EQ(hardware.liveObjects(), 0U);
    EXPECT_FALSE(tap->isRunning());

    const float samples[2] = {1, 1};
    const AudioBuffer list[] = {{1, sizeof samples, samples}, {1, sizeof samples, samples}};
    lateCycle(list);
    queues.runFor(10s);
    EXPECT_EQ(framesReceived, 0);
    EXPECT_THAT(restarts(), IsEmpty());
    stop(); // once more is harmless
}

TEST_F(CoreAudioTapCaptureTest, TakesDownWhatItMadeWhenAStepOfTheStartFails) {
    const struct {
        Call refused;
        CoreAudioTapCaptureError expected;
        const char* message;
    } cases[] = {
        {Call::createTap, {Kind::tapCreationFailed, -1}, "Failed to create system audio tap (error -1)."},
        {Call::defaultDevice,
         {Kind::propertyReadFailed, -2},
         "Failed to read Core Audio property (error -2)."},
        {Call::uid, {Kind::propertyReadFailed, -3}, "Failed to read Core Audio property (error -3)."},
        {Call::format, {Kind::formatUnavailable}, "System audio format is unavailable."},
        {Call::createAggregate,
         {Kind::aggregateDeviceCreationFailed, -5},
         "Failed to create aggregate audio device (error -5)."},
        {Call::createProc,
         {Kind::ioProcCreationFailed, -6},
         "Failed to create audio capture callback (error -6)."},
        {Call::start, {Kind::deviceStartFailed, -7}, "Failed to start system audio capture (error -7)."},
    };
    for (const auto& [refused, expected, message] : cases) {
        SCOPED_TRACE(message);
        hardware.refuse(refused, expected.status == 0 ? -4 : expected.status);
        const auto result = start();
        ASSERT_FALSE(result);
        EXPECT_EQ(result.error(), expected);
        EXPECT_EQ(result.error().message(), message);
        EXPECT_EQ(hardware.liveObjects(), 0U);
        EXPECT_FALSE(tap->isRunning());
        hardware.allow(refused);
    }
    EXPECT_TRUE(start());
}

TEST_F(CoreAudioTapCaptureTest, RefusesToStartWithoutADeviceOrAFormatItUnderstands) {
    hardware.setDefaultDevice(kNoAudioObject);
    auto result = start();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error(), (CoreAudioTapCaptureError{Kind::propertyReadFailed, 0x21646576}));

    hardware.setDefaultDevice(kSpeakers);
    hardware.format.sampleRate = 0;
    result = start();
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, Kind::formatUnavailable);
    EXPECT_EQ(hardware.liveObjects(), 0U);
}

TEST_F(CoreAudioTapCaptureTest, RestartsOnceForEventsWithinEightyMillisecondsUnderTheLastReason) {
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
    EXPECT_EQ(log.count("[route] coalescing pending restart; superseding reason=output data source changed"),
              1);

    fire(AudioProperty::tapInterrupted, hardware.aggregate());
    queues.runFor(80ms);
    EXPECT_EQ(restarts().back(), "audio hardware devices changed 1");
    EXPECT_FALSE(queues.nextDue());
}

TEST_F(CoreAudioTapCaptureTest, KeepsWhatWasPlayedBeforeARestartAndMarksTheSeamBetweenTheOldTapAndTheNew) {
    ASSERT_TRUE(start());
    hardware.play(std::vector<float>(700, 0.5F), std::vector<float>(700, 0.5F)); // not fetched yet
    events.clear();
    hardware.setDefaultDevice(kHeadphones);
    fire(AudioProperty::defaultOutputDevice);
    queues.runFor(80ms);
    EXPECT_THAT(events,
                ElementsAre("seam, 0 devices, 700 frames", "chosen headphones", "resolved headphones"));
    EXPECT_EQ(hardware.aggregateDescription().master, "headphones");
}

TEST_F(CoreAudioTapCaptureTest, ReportsTheDeviceAtTheStartAndWheneverAnotherOneTakesItsPlace) {
    ASSERT_TRUE(start());
    fire(AudioProperty::outputDataSource, kSpeakers);
    queues.runFor(1s);
    EXPECT_THAT(changedUids, ElementsAre("speakers"));
    hardware.setDefaultDevice(kHeadphones);
    fire(AudioProperty::defaultOutputDevice);
    queues.runFor(1s);
    EXPECT_THAT(changedUids, ElementsAre("speakers", "headphones"));
}

/// A running capture that loses its output: every start fails from the first restart on.
class FailingRestartTest : public CoreAudioTapCaptureTest {
protected:
    void loseOutput() {
        ASSERT_TRUE(start());
        hardware.refuse(Call::start, -110);
        fire(AudioProperty::defaultOutputDevice);
    }
};

TEST_F(FailingRestartTest, TriesSixTimesWithGrowingPausesReportsOnceAndBeginsAgain) {
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
    EXPECT_EQ(
        log.count("Capture restart failed (attempt 6): Failed to start system audio capture (error -110)."),
        1);
    queues.runFor(20s);
    EXPECT_EQ(failures.size(), 3U) << "one report for each run through the schedule";
}

TEST_F(FailingRestartTest, CapturesAgainAndEndsTheScheduleAsSoonAsATryWorks) {
    for (const auto outage : {100ms, 1000ms, 6000ms}) {
        SCOPED_TRACE(outage.count());
        tap->setCallbacks(callbacks());
        loseOutput();
        queues.runFor(outage);
        hardware.allow(Call::start);
        queues.runFor(3s);
        const auto tries = restarts().size();
        EXPECT_NE(hardware.aggregate(), kNoAudioObject);
        EXPECT_FALSE(queues.nextDue());
        queues.runFor(10s);
        EXPECT_EQ(restarts().size(), tries);
        stop();
        EXPECT_EQ(hardware.liveObjects(), 0U);
    }
}

TEST_F(FailingRestartTest, TriesNothingMoreOnceStoppedInWhateverPause) {
    for (const auto moment : {40ms, 100ms, 1000ms, 6000ms}) { // debounce, first retry, a later one, recovery
        SCOPED_TRACE(moment.count());
        tap->setCallbacks(callbacks());
        loseOutput();
        queues.runFor(moment);
        stop();
        const auto tries = restarts().size();
        fire(AudioProperty::defaultOutputDevice);
        fire(AudioProperty::hardwareDevices);
        queues.runFor(10s);
        EXPECT_EQ(restarts().size(), tries);
        EXPECT_EQ(hardware.liveObjects(), 0U);
        EXPECT_FALSE(queues.nextDue());
        hardware.allow(Call::start);
    }
}

TEST_F(FailingRestartTest, ARouteEventTakesThePlaceOfTheRetryThatWaits) {
    loseOutput();
    queues.runFor(80ms + 150ms + 350ms);
    ASSERT_THAT(restarts(), ElementsAre("default output device changed 1", "retry 2", "retry 3"));
    hardware.allow(Call::start);
    fire(AudioProperty::defaultOutputDevice);
    queues.runFor(10s);
    EXPECT_EQ(restarts().back(), "default output device changed 1");
    EXPECT_EQ(restarts().size(), 4U) << "the retry ran beside the restart";
}

TEST_F(FailingRestartTest, DoesNothingWhenItIsGoneBeforeItsTimeComes) {
    loseOutput();
    queues.runFor(100ms);
    queues.control.sync([&] { tap.reset(); });
    const auto tries = restarts().size();
    queues.runFor(10s);
    EXPECT_EQ(restarts().size(), tries);
}

TEST_F(CoreAudioTapCaptureTest, RestartsForAChangedDeviceListOnlyWhenItConcernsCapture) {
    ASSERT_TRUE(start());
    hardware.addDevice(kDisplay, "display");
    fire(AudioProperty::hardwareDevices);
    queues.runFor(1s);
    EXPECT_THAT(restarts(), IsEmpty());
    EXPECT_EQ(log.count("[route] hardwareDevices changed but nothing relevant moved; not restarting."), 1);
    EXPECT_EQ(log.count("previousActiveDevice=50 currentDefault=50 defaultDeviceChanged=false "
                        "activeDeviceDisconnected=false previousListenerDevice=50 currentListenerDevice=50 "
                        "listenerDeviceChanged=false"),
              1);

    hardware.removeDevice(kSpeakers);
    hardware.setDefaultDevice(kHeadphones);
    fire(AudioProperty::hardwareDevices);
    queues.runFor(1s);
    EXPECT_THAT(restarts(), ElementsAre("active output device disconnected 1"));

    hardware.removeDevice(kDisplay);
    fire(AudioProperty::hardwareDevices); // on a device without data sources
    queues.runFor(1s);
    EXPECT_EQ(restarts().size(), 1U);

    hardware.addDevice(kSpeakers, "speakers", true);
    hardware.setDefaultDevice(kSpeakers);
    fire(AudioProperty::hardwareDevices);
    queues.runFor(1s);
    EXPECT_EQ(restarts().back(), "audio hardware devices changed 1");

    hardware.refuse(Call::devices, -32); // the server is gone
    hardware.refuse(Call::defaultDevice, -32);
    fire(AudioProperty::hardwareDevices);
    queues.runFor(80ms);
    EXPECT_EQ(restarts().back(), "active output device disconnected 1");

    tap->setCallbacks({});
    fire(AudioProperty::hardwareDevices);
    EXPECT_EQ(log.count("[route] hardwareDevices changed but capture not running; ignoring."), 1);
}

TEST_F(CoreAudioTapCaptureTest, ListensToTheDataSourceOfTheDefaultDeviceAndAsksADeviceWithoutOneOnlyOnce) {
    ASSERT_TRUE(start());
    EXPECT_THAT(hardware.dataSourceListenerDevices(), ElementsAre(kSpeakers));

    hardware.setDefaultDevice(kHeadphones);
    fire(AudioProperty::hardwareDevices);
    EXPECT_THAT(hardware.dataSourceListenerDevices(), IsEmpty());
    queues.runFor(1s);
    ASSERT_EQ(restarts().size(), 1U);
    EXPECT_EQ(log.count("[route] skip data source listener attach: property absent on deviceID=51"), 1);

    const auto skipped = log.count("property absent");
    for (int i = 0; i < 3; ++i)
        fire(AudioProperty::hardwareDevices);
    queues.runFor(1s);
    EXPECT_EQ(log.count("property absent"), skipped);

    hardware.setDefaultDevice(kSpeakers);
    fire(AudioProperty::hardwareDevices);
    hardware.setDefaultDevice(kHeadphones);
    fire(AudioProperty::hardwareDevices);
    EXPECT_EQ(log.count("[route] attached data source listener on deviceID=50"), 2);
    EXPECT_EQ(log.count("property absent"), skipped + 1) << "asked again after another default";

    hardware.setDefaultDevice(kNoAudioObject);
    fire(AudioProperty::hardwareDevices);
    EXPECT_EQ(log.count("[route] skip data source listener attach: deviceID invalid (0)"), 1);
    hardware.refuse(Call::defaultDevice, -32);
    fire(AudioProperty::hardwareDevices);
    EXPECT_EQ(log.count("[route] refreshDataSourceListener: failed to read default output device"), 1);
}

TEST_F(CoreAudioTapCaptureTest, DescribesTheRouteAtEachEvent) {
    ASSERT_TRUE(start());
    fire(AudioProperty::outputDataSource, kSpeakers);
    EXPECT_EQ(
        log.count("[route] outputDataSource property fired (deviceID=50) | isRunning=true defaultDeviceID=50 "
                  "defaultUID=speakers dataSource=speakers activeOutputDeviceID=50 "
                  "dataSourceListenerDeviceID=50 hardwareDeviceCount=2 hardwareDeviceIDs=[50,51]"),
        1);
    queues.runFor(1s);
    for (const auto* event : {"before restart teardown", "after restart completed"})
        EXPECT_EQ(log.count(event), 1);
}

} // namespace
} // namespace rewindle::test
