#include "support/PrivateSession.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace rewindle::support {
namespace {

std::string contentsOf(const Path& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

int exitCodeOf(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Takes over what the session's `env` file exports, as a shell would.
void adopt(const Path& envFile) {
    const std::string command = ". " + envFile.string() + "; env -0";
    FILE* pipe = popen(command.c_str(), "r"); // NOLINT(cert-env33-c): a file of our own
    std::string all;
    char buffer[4096];
    for (std::size_t n = 0; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        all.append(buffer, n);
    pclose(pipe);
    // NOLINTBEGIN(concurrency-mt-unsafe): nothing else reads it meanwhile
    clearenv();
    std::istringstream entries(all);
    for (std::string entry; std::getline(entries, entry, '\0');) {
        const auto equals = entry.find('=');
        setenv(entry.substr(0, equals).c_str(), entry.substr(equals + 1).c_str(), 1);
    }
    // NOLINTEND(concurrency-mt-unsafe)
}

} // namespace

std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char c : text)
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return result + "'";
}

Process::Process(const std::string& command) : pid_(fork()) {
    if (pid_ != 0) return;
    setpgid(0, 0);
    execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    _exit(127);
}

Process& Process::operator=(Process&& other) noexcept {
    end();
    pid_ = std::exchange(other.pid_, 0);
    return *this;
}

void Process::signal(int number) const {
    if (pid_ > 0) kill(pid_, number);
}

int Process::wait(const std::function<void()>& meanwhile) {
    int status = 0;
    while (pid_ > 0 && waitpid(pid_, &status, meanwhile ? WNOHANG : 0) == 0)
        meanwhile();
    pid_ = 0;
    return exitCodeOf(status);
}

void Process::end() {
    if (pid_ <= 0) return;
    kill(-pid_, SIGTERM); // the group that it leads
    kill(pid_, SIGTERM);
    wait();
}

PrivateSession::PrivateSession(const SessionParts& parts) : parts_(parts) {
    std::string pattern = (std::filesystem::temp_directory_path() / "rewindle-test.XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    if (parts.sound) session("start", parts.rate ? std::to_string(parts.rate) : "");
    if (parts.display) session("display-start", parts.screen);
    if (parts.kiosk) session("kiosk-start");
    if (parts.wayland) session("wayland-start", REWINDLE_WAYLAND_HAND);
    adopt(folder_ / "env");
}

PrivateSession::~PrivateSession() {
    try {
        session("stop");
        std::filesystem::remove_all(folder_);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "A private session could not be ended: %s\n", error.what());
    }
}

std::string PrivateSession::outputOf(const std::string& command) const {
    const auto result = run("timeout 20 sh -c " + quoted(command));
    if (result.exitCode != 0) throw std::runtime_error(command + ": " + result.errors);
    return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
}

std::string PrivateSession::session(const std::string& verb, const std::string& arguments) const {
    const auto result = run(REWINDLE_PRIVATE_SESSION " " + verb + " " + folder_.string() + " " + arguments);
    if (result.exitCode != 0) throw std::runtime_error("private-session " + verb + ": " + result.errors);
    return result.output.substr(0, result.output.find_last_not_of('\n') + 1);
}

void PrivateSession::addDefaultSink(const std::string& name, const std::string& positions) const {
    session("add-sink", name + " " + positions);
    session("default-sink", name);
}

CommandResult PrivateSession::run(const std::string& command) const {
    static int count = 0;
    const auto stem = folder_ / ("run-" + std::to_string(getpid()) + "-" + std::to_string(count++));
    Process process("{ " + command + " ; } </dev/null >" + stem.string() + ".out 2>" + stem.string() + ".err");
    const int exitCode = process.wait(meanwhile_);
    return {exitCode, contentsOf(stem.string() + ".out"), contentsOf(stem.string() + ".err")};
}

bool eventually(const std::function<bool()>& done, double seconds) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

} // namespace rewindle::support
