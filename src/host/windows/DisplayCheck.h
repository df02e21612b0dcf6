#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace rewindle {

/// What decides where windows would be shown. Unset variables are absent.
struct DisplayEnvironment {
    std::optional<std::string> qtPlatform{};            // QT_QPA_PLATFORM
    std::optional<std::string> x11Display{};            // DISPLAY
    std::optional<std::string> waylandDisplay{};        // WAYLAND_DISPLAY
    std::optional<std::string> waylandSocket{};         // WAYLAND_SOCKET: a connection that the parent has opened
    std::string sessionType{};                          // XDG_SESSION_TYPE
    std::filesystem::path runtimeFolder{};              // XDG_RUNTIME_DIR
    std::vector<std::filesystem::path> pluginFolders{}; // in which Qt looks for its plug-ins

    [[nodiscard]] static DisplayEnvironment ofProcess();
};

/// Why no window can be shown, as one line without a full stop; none when one can. To be asked before a
/// QGuiApplication is made, which ends the process when there is no display.
///
/// Threads: any. Waits for a display on another computer, at most 2 s once its address is known.
[[nodiscard]] std::optional<std::string> displayProblem(const DisplayEnvironment& environment);

} // namespace rewindle
