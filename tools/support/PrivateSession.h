#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>
#include <utility>
#include <vector>

namespace rewindle::support {

using Path = std::filesystem::path;

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
    /// Waits for its end; -1 when a signal caused it.
    int wait();
    void end();

private:
    pid_t pid_ = 0;
};

/// A private sound server, whose environment this process and its children have while it lives.
class PrivateSession {
public:
    /// `rate` as the graph's rate; 0 for the server's own default. Throws when the server does not come up.
    explicit PrivateSession(int rate = 0);
    ~PrivateSession();
    PrivateSession(const PrivateSession&) = delete;
    PrivateSession& operator=(const PrivateSession&) = delete;

    [[nodiscard]] const Path& folder() const { return folder_; }
    /// `tools/private-session VERB FOLDER ARGUMENTS`; throws when it fails. Returns what it printed.
    std::string session(const std::string& verb, const std::string& arguments = {}) const;
    void addDefaultSink(const std::string& name, const std::string& positions = {}) const;
    /// Runs a shell command to its end.
    [[nodiscard]] CommandResult run(const std::string& command) const;

private:
    Path folder_;
};

/// Looks again every 20 ms until `done` holds or `seconds` have passed; returns whether it held.
bool eventually(const std::function<bool()>& done, double seconds = 10);

} // namespace rewindle::support
