#include "host/windows/DisplayCheck.h"

#include "host/files/FileHandle.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <poll.h>
#include <sstream>
#include <sys/socket.h>
#include <sys/un.h>
#include <xcb/xcb.h>

#include <QCoreApplication>
#include <QFile>

namespace rewindle {
namespace {

using Clock = std::chrono::steady_clock;
using Path = std::filesystem::path;

constexpr int kX11FirstPort = 6000; // of display 0
constexpr auto kRemoteLimit = std::chrono::seconds(2);

bool connectsWithin(const addrinfo& address, Clock::time_point limit) {
    const FileHandle socket(::socket(address.ai_family, address.ai_socktype | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (connect(socket.get(), address.ai_addr, address.ai_addrlen) == 0) return true;
    if (errno != EINPROGRESS) return false;
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now());
    pollfd waiting{.fd = socket.get(), .events = POLLOUT, .revents = 0};
    if (poll(&waiting, 1, std::max(0, static_cast<int>(rest.count()))) != 1) return false;
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

/// libxcb alone would wait for minutes for a computer that does not answer.
bool answersOverNetwork(const char* host, int display) {
    addrinfo hints{};
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* found = nullptr;
    const auto port = std::to_string(kX11FirstPort + display);
    if (getaddrinfo(host, port.c_str(), &hints, &found) != 0) return false;
    const std::unique_ptr<addrinfo, decltype(&freeaddrinfo)> addresses(found, &freeaddrinfo);
    const auto limit = Clock::now() + kRemoteLimit;
    for (const auto* address = found; address; address = address->ai_next) {
        if (connectsWithin(*address, limit)) return true;
    }
    return false;
}

bool isRemote(const char* host) {
    return *host != '\0' && std::strcmp(host, "unix") != 0 && *host != '/';
}

/// Connects as Qt will, permission included.
bool opensX11(const std::string& name) {
    char* host = nullptr;
    int display = 0;
    if (!xcb_parse_display(name.c_str(), &host, &display, nullptr)) return false;
    const std::unique_ptr<char, decltype(&std::free)> ownedHost(host, &std::free);
    if (isRemote(host) && !answersOverNetwork(host, display)) return false;
    xcb_connection_t* const connection = xcb_connect(name.c_str(), nullptr);
    const bool opened = xcb_connection_has_error(connection) == 0;
    xcb_disconnect(connection);
    return opened;
}

bool opensWayland(const DisplayEnvironment& environment) {
    if (environment.waylandSocket) return true;
    const auto path = environment.runtimeFolder / environment.waylandDisplay.value_or("wayland-0");
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (!path.is_absolute() || path.native().size() >= sizeof address.sun_path) return false;
    path.native().copy(address.sun_path, sizeof address.sun_path - 1);
    const FileHandle socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    return connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 ||
           errno == EAGAIN; // somebody is there, and busy
}

bool isWaylandPlugin(const Path& file) {
    return file.filename().native().starts_with("libqwayland");
}

/// Qt's part for Wayland comes in a package of its own.
bool hasWaylandPlugin(const std::vector<Path>& folders) {
    return std::any_of(folders.begin(), folders.end(), [](const Path& folder) {
        std::error_code none; // a folder that is not there has no files
        std::filesystem::directory_iterator files(folder / "platforms", none);
        return std::any_of(begin(files), end(files), [](const auto& file) { return isWaylandPlugin(file.path()); });
    });
}

std::optional<std::string> variable(const char* name) {
    const char* const value = std::getenv(name); // NOLINT(concurrency-mt-unsafe): nobody writes it meanwhile
    return value ? std::optional<std::string>(value) : std::nullopt;
}

/// One way of showing windows that Qt would try: no problem, or what is wrong with it.
std::string x11Problem(const DisplayEnvironment& environment) {
    if (!environment.x11Display || environment.x11Display->empty()) return "DISPLAY is not set";
    if (opensX11(*environment.x11Display)) return {};
    return "the X server \"" + *environment.x11Display + "\" cannot be opened";
}

std::string waylandProblem(const DisplayEnvironment& environment) {
    if (!opensWayland(environment)) {
        return "the Wayland compositor \"" + environment.waylandDisplay.value_or("") + "\" cannot be reached";
    }
    return hasWaylandPlugin(environment.pluginFolders) ? "" : "Qt's support for Wayland is not installed";
}

/// The platforms that Qt would try, without their options.
std::vector<std::string> platformsToTry(const DisplayEnvironment& environment) {
    std::vector<std::string> names;
    if (environment.qtPlatform && !environment.qtPlatform->empty()) {
        std::istringstream list(*environment.qtPlatform);
        for (std::string name; std::getline(list, name, ';');)
            names.push_back(name.substr(0, name.find(':')));
        return names;
    }
    const bool wayland =
        environment.waylandDisplay || environment.waylandSocket || environment.sessionType == "wayland";
    if (wayland) names.emplace_back("wayland");
    if (environment.x11Display || !wayland) names.emplace_back("xcb");
    return names;
}

std::string problemOf(const std::string& platform, const DisplayEnvironment& environment) {
    if (platform == "xcb") return x11Problem(environment);
    if (platform.starts_with("wayland")) return waylandProblem(environment);
    return {}; // offscreen, a frame buffer ...: chosen by somebody who knows
}

} // namespace

DisplayEnvironment DisplayEnvironment::ofProcess() {
    std::vector<Path> folders;
    for (const auto& folder : QCoreApplication::libraryPaths())
        folders.emplace_back(QFile::encodeName(folder).toStdString());
    return {.qtPlatform = variable("QT_QPA_PLATFORM"),
            .x11Display = variable("DISPLAY"),
            .waylandDisplay = variable("WAYLAND_DISPLAY"),
            .waylandSocket = variable("WAYLAND_SOCKET"),
            .sessionType = variable("XDG_SESSION_TYPE").value_or(""),
            .runtimeFolder = variable("XDG_RUNTIME_DIR").value_or(""),
            .pluginFolders = std::move(folders)};
}

std::optional<std::string> displayProblem(const DisplayEnvironment& environment) {
    std::string all;
    for (const auto& platform : platformsToTry(environment)) {
        const auto problem = problemOf(platform, environment);
        if (problem.empty()) return std::nullopt;
        all += (all.empty() ? "" : ", ") + problem;
    }
    return all;
}

} // namespace rewindle
