#include "screenshots/Scene.h"

#include "ui/RootView.h"

#include <cerrno>

namespace rewindle {
namespace {

constexpr AudioObjectID kSpeakers = 50, kHeadphones = 51;

} // namespace

Scene::Scene(const Situation& situation) {
    hardware_.addDevice(kSpeakers, "speakers");
    hardware_.addDevice(kHeadphones, "headphones");
    hardware_.setDefaultDevice(kSpeakers);
    defaults_.stored(RootView::kOnboardingKey, situation.hasSeenOnboarding);
    defaults_.stored(PermissionStore::kFlowKey, situation.hasBeenAsked);
    defaults_.stored("capture.showLevelMeter", situation.showLevelMeter);
    defaults_.stored(std::string(CaptureDeviceGainStore::kStorageKey), DefaultsDictionary{{"speakers", 2.5}});
    actions_ = {[] {}, [](const auto&) {}, [] {}, [] {}, [](bool) {}};
    control_.status.running = true;
    control_.status.deviceUid = "speakers";
    control_.status.deviceDescription = "Built-in Audio Analog Stereo";
    control_.status.durationSeconds = seconds(kDefaultRecordingDuration);
    control_.status.retainedSeconds = 192;
    control_.status.displayDb = {-12.3F, -9.8F};
    makeSession(situation.consent);
    theme_.emplace(session_->themeManager());
}

void Scene::makeSession(AudioCaptureProbeOutcome consent) {
    const auto answer = [consent](const AudioCaptureProbe::Reply& reply) { reply(consent); };
    const auto isGranted = [consent] { return consent == AudioCaptureProbeOutcome::granted; };
    session_.emplace(AppSession::Services{
        .settings = {defaults_, loginItem_, files_, folderChooser_, workspace_},
        .permission = {.preflight = isGranted, .probe = answer, .request = answer, .freshProbe = answer},
        .engine = {hardware_, queues_.capture, queues_.control, queues_.main, queues_.clock, memory_, log_, 1},
        .log = Log(log_, "Session"),
        .durationForThisRun = {}});
    session_->begin();
    session_->permission().reconcileOnLaunch();
    settle();
}

void Scene::breakCapture() {
    control_.status.running = false;
    control_.status.displayDb = {-48, -48};
    hardware_.refuse(test::FakeAudioHardware::Call::createTap, -ECONNREFUSED);
    hardware_.setDefaultDevice(kHeadphones);
    hardware_.fire(AudioProperty::defaultOutputDevice);
    queues_.runFor(std::chrono::seconds(10));
}

} // namespace rewindle
