#include "capture/tap/TapCaptureFixture.h"

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Call = FakeAudioHardware::Call;
using Kind = CoreAudioTapCaptureError::Kind;

using CoreAudioTapCaptureTest = TapCaptureFixture;

TEST_F(CoreAudioTapCaptureTest, StartsByTappingTheWholeMixOnTheDefaultOutputDevice) {
    ASSERT_TRUE(start());
    EXPECT_THAT(events, ElementsAre("chosen speakers", "resolved speakers"));
    EXPECT_EQ(log.count("CoreAudioTap: Capture started for output device speakers."), 1);

    const auto tapped = hardware.tapDescription();
    EXPECT_THAT(tapped.excludedProcesses, ElementsAre(kPid + 1000));
    EXPECT_THAT(tapped.uuid,
                testing::MatchesRegex("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}"));

    const auto device = hardware.aggregateDescription();
    EXPECT_EQ(device.name, "rewindle Tap");
    EXPECT_EQ(device.master, "speakers");
    ASSERT_EQ(device.taps.size(), 1U);
    EXPECT_EQ(device.taps[0].uid, tapped.uuid);
    EXPECT_NE(device.uid, tapped.uuid);
}

TEST_F(CoreAudioTapCaptureTest, StopsByTakingEverythingDownAndHearsNothingAfterwards) {
    const auto held = std::make_shared<int>(0);
    auto holding = callbacks();
    holding.onCaptureRestartSeam = [held] {};
    tap->setCallbacks(std::move(holding));
    ASSERT_TRUE(start());
    const auto lateCycle = hardware.lastProc();
    hardware.fire(AudioProperty::defaultOutputDevice); // told before the stop, heard after it
    stop();
    EXPECT_EQ(hardware.liveObjects(), 0U);
    EXPECT_FALSE(tap->isRunning());
    EXPECT_EQ(held.use_count(), 1) << "the callbacks are kept";

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
        {Call::defaultDevice, {Kind::propertyReadFailed, -2}, "Failed to read Core Audio property (error -2)."},
        {Call::uid, {Kind::propertyReadFailed, -3}, "Failed to read Core Audio property (error -3)."},
        {Call::format, {Kind::formatUnavailable}, "System audio format is unavailable."},
        {Call::createAggregate,
         {Kind::aggregateDeviceCreationFailed, -5},
         "Failed to create aggregate audio device (error -5)."},
        {Call::createProc, {Kind::ioProcCreationFailed, -6}, "Failed to create audio capture callback (error -6)."},
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
    const double rate = std::exchange(hardware.format.sampleRate, 0); // a format that it does not understand
    EXPECT_EQ(start().error().kind, Kind::formatUnavailable);
    EXPECT_EQ(hardware.liveObjects(), 0U);
    hardware.format.sampleRate = rate;
    hardware.refuse(Call::translate, -2); // its own process is unknown
    EXPECT_TRUE(start());
    EXPECT_THAT(hardware.tapDescription().excludedProcesses, IsEmpty());
}

TEST_F(CoreAudioTapCaptureTest, MovesToADeviceThatBecameTheDefaultBeforeThereWasAListenerAndReportsEachOnce) {
    hardware.onStart = [this] { hardware.switchTo(kHeadphones); };
    ASSERT_TRUE(start());
    hardware.onStart = nullptr;
    queues.runFor(1s);
    EXPECT_THAT(restarts(), ElementsAre("default output device changed 1"));
    fire(AudioProperty::defaultOutputDevice); // back on the same one
    queues.runFor(1s);
    EXPECT_EQ(restarts().size(), 2U);
    EXPECT_THAT(changedUIDs, ElementsAre("speakers", "headphones"));
}

TEST_F(CoreAudioTapCaptureTest, RestartsForAChangedDeviceListOnlyWhenItConcernsCapture) {
    ASSERT_TRUE(start());
    hardware.addDevice(kDisplay, "display");
    devicesChange();
    EXPECT_THAT(restarts(), IsEmpty());
    EXPECT_EQ(log.count("[route] hardwareDevices changed but nothing relevant moved; not restarting."), 1);

    hardware.removeDevice(kSpeakers);
    hardware.setDefaultDevice(kHeadphones);
    devicesChange();
    EXPECT_THAT(restarts(), ElementsAre("active output device disconnected 1"));

    hardware.addDevice(kSpeakers, "speakers", true);
    hardware.setDefaultDevice(kSpeakers);
    devicesChange();
    EXPECT_EQ(restarts().back(), "audio hardware devices changed 1");

    hardware.refuse(Call::devices, -32); // the server is gone
    hardware.refuse(Call::defaultDevice, -32);
    fire(AudioProperty::hardwareDevices);
    EXPECT_EQ(log.count("[route] refreshDataSourceListener: failed to read default output device"), 1);
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
        devicesChange();
    EXPECT_EQ(log.count("property absent"), skipped);

    hardware.setDefaultDevice(kSpeakers);
    fire(AudioProperty::hardwareDevices);
    hardware.setDefaultDevice(kHeadphones);
    fire(AudioProperty::hardwareDevices);
    EXPECT_EQ(log.count("[route] attached data source listener on deviceID=50"), 2);
    EXPECT_EQ(log.count("property absent"), skipped + 1) << "asked again after another default";
}

TEST_F(CoreAudioTapCaptureTest, DescribesTheRouteAtEachEvent) {
    ASSERT_TRUE(start());
    fire(AudioProperty::outputDataSource, kSpeakers);
    EXPECT_EQ(log.count("[route] outputDataSource property fired (deviceID=50) | isRunning=true defaultDeviceID=50 "
                        "defaultUID=speakers dataSource=speakers activeOutputDeviceID=50 "
                        "dataSourceListenerDeviceID=50 hardwareDeviceCount=2 hardwareDeviceIDs=[50,51]"),
              1);
    queues.runFor(1s);
    for (const auto* event : {"before restart teardown", "after restart completed"})
        EXPECT_EQ(log.count(event), 1);
}

} // namespace
} // namespace rewindle::test
