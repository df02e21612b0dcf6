#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace rewindle::support {

using Path = std::filesystem::path;

/// A word for the shell, whatever is in it.
[[nodiscard]] std::string quoted(const std::string& text);

/// What a command left behind.
struct CommandResult {
    int exitCode = -1; // -1 when a signal ended it
    std::string output;
    std::string errors;
};

/// A process that the test started, ended when it goes out of scope.
class Process {
public:
    Process() = default;
    /// Runs `command` in a shell; `exec` in front of it makes the process the command itself.
    explicit Process(const std::string& command);
    Process(Process&& other) noexcept : pid_(std::exchange(other.pid_, 0)) {}
    Process& operator=(Process&& other) noexcept;
    ~Process() { end(); }

    [[nodiscard]] pid_t pid() const { return pid_; }
    void signal(int number) const;
    /// Waits for its end; -1 when a signal caused it. Calls `meanwhile` again and again, when there is one.
    int wait(const std::function<void()>& meanwhile = {});
    void end();

private:
    pid_t pid_ = 0;
};

/// What a private session is made of, besides a message bus.
struct SessionParts {
    bool sound = true;
    int rate = 0;         // of the sound server's graph; 0 for the server's own default
    bool display = false; // an X server with a window manager
    bool wayland = false; // a Wayland compositor with a mouse and a keyboard
    bool kiosk = false;   // one in a window of the display, which gives each window all of it
    std::string screen{}; // its size in pixels, "1280x800"; empty for a usual one
};

/// A private session, whose environment this process and its children have while it lives.
class PrivateSession {
public:
    /// Throws when it does not come up.
    explicit PrivateSession(const SessionParts& parts);
    explicit PrivateSession(int rate = 0) : PrivateSession(SessionParts{.rate = rate}) {}
    ~PrivateSession();
    PrivateSession(const PrivateSession&) = delete;
    PrivateSession& operator=(const PrivateSession&) = delete;

    [[nodiscard]] const SessionParts& parts() const { return parts_; }
    [[nodiscard]] const Path& folder() const { return folder_; }
    /// `tools/private-session VERB FOLDER ARGUMENTS`; throws when it fails. Returns what it printed.
    std::string session(const std::string& verb, const std::string& arguments = {}) const;
    void addDefaultSink(const std::string& name, const std::string& positions = {}) const;
    /// Runs a shell command to its end.
    [[nodiscard]] CommandResult run(const std::string& command) const;
    /// The same for at most 20 s, and without the end of the last line; throws when it fails.
    std::string outputOf(const std::string& command) const;
    /// For a test that is itself a part of the session: what goes on while a command runs, an event loop say.
    void setMeanwhile(std::function<void()> meanwhile) { meanwhile_ = std::move(meanwhile); }

private:
    SessionParts parts_;
    Path folder_;
    std::function<void()> meanwhile_;
};

/// Looks again every 20 ms until `done` holds or `seconds` have passed; returns whether it held.
bool eventually(const std::function<bool()>& done, double seconds = 10);

} // namespace rewindle::support
