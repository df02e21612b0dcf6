#include "LoadSession.h"

#include "support/Sound.h"

#include <cmath>
#include <fstream>
#include <numbers>
#include <stdexcept>
#include <thread>
#include <tuple>

namespace rewindle::bench {
namespace {

using support::Process;

support::Sound sine(double seconds) {
    support::Sound sound{std::vector<float>(2 * static_cast<std::size_t>(seconds * 48'000)), 48'000};
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        const std::size_t frame = i / 2;
        sound.samples[i] = 0.5F * static_cast<float>(std::sin(std::numbers::pi / 24 * static_cast<double>(frame)));
    }
    return sound;
}

} // namespace

LoadSession::LoadSession(const support::SessionParts& parts, double secondsOfSine) : session_(parts) {
    session_.session("add-sink", "aside");
    session_.addDefaultSink("out");
    std::ignore = session_.run("pw-metadata -n settings 0 clock.force-quantum " + std::to_string(kQuantum));
    save(sine(secondsOfSine), session_.folder() / "sine.wav");
    if (session_.run(REWINDLE_BINARY " grant").exitCode != 0) throw std::runtime_error("no consent");
}

Process LoadSession::play(const std::string& file) const {
    Process player("exec pw-play " + file);
    if (!support::eventually([&] { return state() == "running"; })) throw std::runtime_error("nothing plays");
    return player;
}

Process LoadSession::record() const {
    return Process("exec pw-record -P '{ stream.capture.sink=true }' --target out " + folder() + "/record.wav");
}

std::vector<LoadSession::BesideRecorder> LoadSession::watchBesideRecorder(pid_t program, double seconds) const {
    using namespace std::chrono_literals;
    std::vector<BesideRecorder> sums(kWindows);
    for (const bool recorderIsOlder : {true, false}) {
        const Process recorder = record();
        if (recorderIsOlder) { // the program is linked anew
            listenTo("aside");
            listenTo("out");
        }
        const Process player = play();
        std::this_thread::sleep_for(3s); // past what starting costs
        const auto rows = watch({program, recorder.pid()}, seconds / 2);
        for (std::size_t i = 0; i < sums.size(); ++i)
            sums[i] = {sums[i].program + rows[i][0], sums[i].recorder + rows[i][1]};
    }
    return sums;
}

std::string LoadSession::status(const std::string& key) const {
    const auto result = session_.run(REWINDLE_BINARY " status --json | tr -d '\"{}' | tr ',' '\\n' | sed -n 's/^ *" +
                                     key + ": *//p'");
    return result.output.substr(0, result.output.find('\n'));
}

void LoadSession::passFirstStart(int secondsToHold) const {
    std::filesystem::create_directories(folder() + "/config/rewindle");
    std::ofstream(folder() + "/config/rewindle/settings.json")
        << R"({ "com.rewindle.hasSeenOnboarding": true, "capture.recordingDuration": )" << secondsToHold << " }";
}

void LoadSession::listenTo(const std::string& sink) const {
    session_.session("default-sink", sink);
    if (!support::eventually([&] { return status("device_uid") == sink; }))
        throw std::runtime_error("it does not listen to " + sink);
}

void LoadSession::fill(double seconds) const {
    constexpr auto kSink = "fast";
    session_.session("add-fast-sink", kSink);
    listenTo(kSink);
    // A player on such a sink need not come to its end, and on a busy computer not all of its sound is heard.
    const auto isFull = [&] {
        std::ignore = session_.run("timeout 2 pw-play " + folder() + "/sine.wav");
        return retainedSeconds() >= seconds;
    };
    if (!support::eventually(isFull, 60)) throw std::runtime_error("its buffer was not filled");
    listenTo("out");
}

} // namespace rewindle::bench
