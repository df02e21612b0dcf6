#pragma once

#include "support/PrivateSession.h"
#include "support/Sound.h"

#include <set>
#include <string>

namespace rewindle::test {

using namespace support;

/// How the program is started.
struct RecorderStart {
    std::string arguments = {}; // none: with its window
    bool granted = true;        // what a user allowed before
    bool capturing = true;      // wait until it does
    std::string variables = {}; // of its environment: "NAME=VALUE NAME=VALUE"
};

/// The program itself, running in a private session, and its commands as a user types them.
class Recorder {
public:
    /// Starts it and waits until it answers. Throws when it does not come up.
    Recorder(const PrivateSession& session, const RecorderStart& start);
    /// The same, headless, with access granted.
    explicit Recorder(const PrivateSession& session, const std::string& options = {}, bool capturing = true);
    /// Shows its log, and the sound server's, when the test has failed.
    ~Recorder();
    Recorder(const Recorder&) = delete;
    Recorder& operator=(const Recorder&) = delete;

    /// `rewindle ARGUMENTS`, run to its end.
    [[nodiscard]] CommandResult command(const std::string& arguments) const;
    /// The value of one key of `status --json`, as text without quotes; empty while there is none.
    [[nodiscard]] std::string status(const std::string& key) const;
    [[nodiscard]] std::int64_t totalFrames() const { return std::stoll("0" + status("total_frames")); }
    [[nodiscard]] bool isCapturing() const { return status("running") == "true"; }
    /// Everything retained, by way of a clip. Throws when the export fails.
    [[nodiscard]] Sound retained() const;
    [[nodiscard]] Sound lastSeconds(double seconds) const;
    /// What it has logged so far.
    [[nodiscard]] std::string log() const;
    [[nodiscard]] int logCount(const std::string& part) const;
    [[nodiscard]] Process& process() { return process_; }

private:
    [[nodiscard]] Sound exported(const std::string& arguments) const;

    const PrivateSession& session_;
    Path logFile_;
    bool granted_;
    Process process_;
};

/// Waits until capture has gone on for half a second from now, past the fade-in of a restart that is just
/// over.
void waitForCapture(const Recorder& recorder);
/// What a shell takes for the number of that node.
[[nodiscard]] std::string nodeId(const std::string& name);
/// The clips in the folder that they go to by default.
[[nodiscard]] std::set<Path> clipsIn(const PrivateSession& session);
/// Plays a sound with a stock client, from its start to its end.
void play(const PrivateSession& session, const Sound& sound, const std::string& options = {});
/// The same in the background.
[[nodiscard]] Process startPlaying(const PrivateSession& session, const Sound& sound,
                                   const std::string& options = {});

} // namespace rewindle::test
