#include "program/Recorder.h"

#include "host/files/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <iostream>
#include <regex>
#include <stdexcept>

namespace rewindle::test {
namespace {

int fileCount = 0;

Path newFile(const PrivateSession& session, const std::string& extension) {
    return session.folder() / ("file-" + std::to_string(fileCount++) + extension);
}

} // namespace

Recorder::Recorder(const PrivateSession& session, const std::string& options, bool capturing)
    : Recorder(session, RecorderStart{.arguments = "--headless " + options, .capturing = capturing}) {}

Recorder::Recorder(const PrivateSession& session, const RecorderStart& start)
    : session_(session), logFile_(newFile(session, ".log")),
      granted_(!start.granted || command("grant").exitCode == 0),
      process_("REWINDLE_LOG=debug " + start.variables + " exec " REWINDLE_BINARY " " + start.arguments + " 2>" +
               logFile_.string()) {
    if (!granted_ ||
        !eventually([&] { return command("status --json").exitCode == 0 && (!start.capturing || isCapturing()); })) {
        throw std::runtime_error("rewindle did not come up: " + log());
    }
}

Recorder::~Recorder() {
    process_.end();
    if (!testing::Test::HasFailure()) return;
    std::cerr << log() << "What the sound server and its session manager say:\n"
              << session_.run("timeout 5 pw-metadata 0; cat \"$XDG_RUNTIME_DIR\"/*er.log").output;
}

CommandResult Recorder::command(const std::string& arguments) const {
    return session_.run(REWINDLE_BINARY " " + arguments);
}

std::string Recorder::status(const std::string& key) const {
    const auto text = command("status --json").output;
    std::smatch match;
    const std::regex value("\"" + key + "\": *\"?([^\",}\n]*)");
    return std::regex_search(text, match, value) ? match[1].str() : "";
}

Sound Recorder::retained() const {
    return exported("--all");
}

Sound Recorder::lastSeconds(double seconds) const {
    return exported("--last " + std::to_string(seconds));
}

Sound Recorder::exported(const std::string& arguments) const {
    const auto result = command("export " + arguments + " --folder " + session_.folder().string());
    if (result.exitCode != 0) throw std::runtime_error("export failed: " + result.errors);
    const Path clip = result.output.substr(0, result.output.find('\n'));
    auto sound = load(clip);
    std::filesystem::remove(clip);
    return sound;
}

std::string Recorder::log() const {
    return contentOf(logFile_);
}

int Recorder::logCount(const std::string& part) const {
    const auto text = log();
    int count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

std::string nodeId(const std::string& name) {
    return "$(pw-cli ls Node | awk '/^\\tid/ { id = $2 } /\"" + name + "\"/ { print id; exit }' | tr -d ,)";
}

std::set<Path> clipsIn(const PrivateSession& session) {
    std::set<Path> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(session.folder() / "home/Music/rewindle", error))
        if (entry.path().extension() == ".wav") found.insert(entry.path());
    return found;
}

void waitForCapture(const Recorder& recorder) {
    const auto enough = recorder.totalFrames() + 24'000;
    if (!eventually([&] { return recorder.totalFrames() > enough; }))
        throw std::runtime_error("capture does not go on");
}

Process startPlaying(const PrivateSession& session, const Sound& sound, const std::string& options) {
    const auto file = newFile(session, ".wav");
    save(sound, file);
    return Process("exec pw-play " + options + " " + file.string());
}

void play(const PrivateSession& session, const Sound& sound, const std::string& options) {
    auto player = startPlaying(session, sound, options);
    if (player.wait() != 0) throw std::runtime_error("pw-play failed");
}

} // namespace rewindle::test
