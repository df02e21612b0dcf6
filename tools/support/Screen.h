#pragma once

#include "support/PrivateSession.h"

#include <memory>
#include <optional>
#include <string>

namespace rewindle::support {

/// A place on the screen, in pixels.
struct Area {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    friend bool operator==(const Area&, const Area&) = default;
};

/// The windows of a private session's desktop, its mouse and its keyboard, as its display server has them.
///
/// Errors: throws when the server does not do what it is told.
class Screen {
public:
    virtual ~Screen() = default;
    /// The server's name for the window that people see under that title.
    [[nodiscard]] virtual std::optional<std::string> find(const std::string& title) const = 0;
    /// The title of the window that has the keyboard; empty when none has.
    [[nodiscard]] virtual std::string keyWindow() const = 0;
    /// Of a window without the borders around it.
    [[nodiscard]] virtual Area area(const std::string& window) const = 0;
    /// What xdotool understands: "mousemove --window ID X Y click 1 key ctrl+s".
    virtual void act(const std::string& actions) const = 0;
    /// As its frame's button would.
    virtual void close(const std::string& window) const = 0;
    /// A picture of a window, or of the whole screen.
    virtual void save(const Path& png, const std::optional<std::string>& window) const = 0;

    /// Requires: the session outlives it.
    [[nodiscard]] static std::unique_ptr<Screen> of(const PrivateSession& session);
};

} // namespace rewindle::support
