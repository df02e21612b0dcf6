#include "screenshots/Scene.h"

#include "ui/pages/RootView.h"

#include <array>
#include <cerrno>
#include <cmath>
#include <numbers>

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
    control_.status.deviceUID = "speakers";
    control_.status.deviceDescription = "Built-in Audio Analog Stereo";
    control_.status.durationSeconds = seconds(kDefaultRecordingDuration);
    control_.status.retainedSeconds = situation.musicSeconds;
    control_.status.displayDB = situation.musicSeconds > 0 ? std::array{-12.3F, -9.8F} : std::array{-48.0F, -48.0F};
    makeSession(situation.consent);
    theme_.emplace(session_->themeManager());
    freeze_.emplace(session_->sampler());
    waveform_.emplace(WaveformServices{queues_.clock, drivers_, timingLog_, *freeze_, audition_, outlets_, outlets_,
                                       outlets_, AnimationClockMode::steady});
}

/// Broken chords, swelling and fading, with a beat below and a rest now and then.
void Scene::playMusic(int seconds) {
    constexpr std::size_t kRate = 48'000;
    constexpr std::array kNotes{220.0, 261.6, 329.6, 440.0, 392.0, 329.6, 261.6, 246.9};
    std::vector<float> samples(kRate / 4);
    for (int beat = 0; beat < 4 * seconds; ++beat) {
        const double note = kNotes.at(static_cast<std::size_t>(beat) % kNotes.size());
        const double phrase = 0.08 + 0.32 * std::pow(std::sin(beat * 0.041), 2);
        const double swell = beat % 64 < 60 ? phrase * (0.7 + 0.3 * std::sin(beat * 0.7)) : 0;
        const double drum = beat % 4 == 0 ? swell : 0;
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const double time = static_cast<double>(i) / kRate;
            const double tone = swell * std::exp(-5 * time) * std::sin(2 * std::numbers::pi * note * time);
            const double low = drum * std::exp(-18 * time) * std::sin(2 * std::numbers::pi * 55 * time);
            samples[i] = static_cast<float>(tone + 0.6 * low);
        }
        hardware_.play(samples, samples);
        settle();
    }
    session_->sampler().drain([] {});
    settle();
}

void Scene::rest(WaveformView& view) {
    for (int tick = 0; tick < 120; ++tick) {
        queues_.clock.advance(std::chrono::milliseconds(16));
        view.displayLinkTick();
    }
}

void Scene::makeSession(AudioCaptureProbeOutcome consent) {
    const auto answer = [consent](const AudioCaptureProbe::Reply& reply) { reply(consent); };
    const auto isGranted = [consent] { return consent == AudioCaptureProbeOutcome::granted; };
    session_.emplace(AppSession::Services{
        .settings = {defaults_, loginItem_, files_, folderChooser_, workspace_},
        .permission = {.preflight = isGranted, .probe = answer, .request = answer, .freshProbe = answer},
        .sampler = {hardware_, queues_.capture, queues_.control, queues_.main, queues_.clock, memory_, log_, 1},
        .log = Log(log_, "Session"),
        .durationForThisRun = {}});
    session_->begin();
    session_->permission().reconcileOnLaunch();
    settle();
}

void Scene::breakCapture() {
    control_.status.running = false;
    control_.status.displayDB = {-48, -48};
    hardware_.refuse(test::FakeAudioHardware::Call::createTap, -ECONNREFUSED);
    hardware_.setDefaultDevice(kHeadphones);
    hardware_.fire(AudioProperty::defaultOutputDevice);
    queues_.runFor(std::chrono::seconds(10));
}

} // namespace rewindle
