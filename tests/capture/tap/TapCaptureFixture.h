#pragma once

#include "capture/tap/CoreAudioTapCapture.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAudioHardware.h"
#include "fakes/ManualQueues.h"

#include <gmock/gmock.h>

namespace rewindle::test {

/// A tap capture on the default output.
class TapCaptureFixture : public testing::Test {
protected:
    static constexpr AudioObjectID kSpeakers = 50, kHeadphones = 51, kDisplay = 52;
    static constexpr std::int64_t kPid = 77;

    TapCaptureFixture() { tap->setCallbacks(callbacks()); }
    ~TapCaptureFixture() override { EXPECT_THAT(hardware.violations(), testing::IsEmpty()); }

    CoreAudioTapCapture::Callbacks callbacks() {
        CoreAudioTapCapture::Callbacks result;
        result.onBuffer = [this](const AudioPCMBuffer& buffer) { framesReceived += buffer.frameLength; };
        result.onOutputDeviceUIDChanged = [this](const std::string& uid) { changedUIDs.push_back(uid); };
        result.onCaptureRestartFailed = [this](const CoreAudioTapCaptureError& error) { failures.push_back(error); };
        result.onOutputDeviceChosen = [this](const std::string& uid, std::int64_t) {
            events.push_back("chosen " + uid);
        };
        result.onOutputDeviceResolved = [this](const std::string& uid) { events.push_back("resolved " + uid); };
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
    void devicesChange() {
        fire(AudioProperty::hardwareDevices);
        queues.runFor(std::chrono::seconds(1));
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
    std::shared_ptr<CoreAudioTapCapture> tap =
        std::make_shared<CoreAudioTapCapture>(hardware, queues.capture, queues.control, queues.main, log, kPid);
    std::int64_t framesReceived = 0;
    std::vector<std::string> changedUIDs, events;
    std::vector<CoreAudioTapCaptureError> failures;
};

} // namespace rewindle::test
