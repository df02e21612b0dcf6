#pragma once

#include "base/Geometry.h"

#include <functional>
#include <optional>

namespace rewindle {

/// One window on the desktop.
///
/// Threads: interface thread.
class Window {
public:
    virtual ~Window() = default;

    [[nodiscard]] virtual bool isVisible() const = 0; // also while miniaturised
    [[nodiscard]] virtual bool isMiniaturized() const = 0;
    [[nodiscard]] virtual bool isFullScreen() const = 0;

    virtual void deminiaturize() = 0;
    /// Shows the window in front of all others and gives it the keyboard.
    virtual void makeKeyAndOrderFront() = 0;
    /// Hides the window; it can be shown again as it was.
    virtual void orderOut() = 0;
    /// `completion` comes when the window has its usual size again; at once when it is not in full screen.
    virtual void leaveFullScreen(std::function<void()> completion) = 0;
    /// Calls `work` from the event loop when the window has been drawn the next time, or a moment later when nobody
    /// can see it: what can wait does not keep the user waiting for the window.
    virtual void afterNextFrame(std::function<void()> work) = 0;

    /// The area of the window's screen, or else of the main screen, that panels leave free; none without a screen.
    [[nodiscard]] virtual std::optional<Rect> visibleFrame() const = 0;
    /// The frame that the window would have around content of that size and place.
    [[nodiscard]] virtual Rect frameRectForContentRect(const Rect& content) const = 0;
    /// Moves and resizes; where the desktop alone places windows, it only resizes, and a window that
    /// is not yet shown gets the size that the desktop then chooses.
    virtual void setFrame(const Rect& frame, bool animate) = 0;
};

/// The program as the desktop sees it.
///
/// Threads: interface thread.
class Application {
public:
    virtual ~Application() = default;
    /// Comes to the front, whatever other application is there now.
    virtual void activateIgnoringOtherApps() = 0;
    /// Ends the event loop.
    virtual void terminate() = 0;
};

} // namespace rewindle
