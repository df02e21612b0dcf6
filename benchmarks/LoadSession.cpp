#include "LoadSession.h"

#include "support/Sound.h"

#include <cmath>
#include <numbers>
#include <stdexcept>
#include <tuple>

namespace rewindle::bench {
namespace {

using support::Process;

support::Sound sine(double seconds) {
    support::Sound sound{std::vector<float>(2 * static_cast<std::size_t>(seconds * 48'000)), 48'000};
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        sound.samples[i] = 0.5F * static_cast<float>(std::sin(std::numbers::pi / 24 * static_cast<double>(i / 2)));
    }
    return sound;
}

} // namespace

LoadSession::LoadSession(const support::SessionParts& parts, double secondsOfSine) : session_(parts) {
    session_.addDefaultSink("out");
    std::ignore = session_.run("pw-metadata -n settings 0 clock.force-quantum " + std::to_string(kQuantum));
    save(sine(secondsOfSine), session_.folder() / "sine.wav");
    if (session_.run(REWINDLE_BINARY " grant").exitCode != 0) throw std::runtime_error("no consent");
}

Process LoadSession::play() const {
    Process player("exec pw-play " + folder() + "/sine.wav");
    if (!support::eventually([&] { return state() == "running"; })) throw std::runtime_error("nothing plays");
    return player;
}

Process LoadSession::record() const {
    return Process("exec pw-record -P '{ stream.capture.sink=true }' --target out " + folder() + "/record.wav");
}

double LoadSession::retainedSeconds() const {
    return std::stod(session_
                         .run(REWINDLE_BINARY " status --json | tr ',' '\\n' | "
                                              "sed -n 's/.*\"retained_seconds\": *//p'")
                         .output);
}

} // namespace rewindle::bench
