#pragma once

#include "base/Geometry.h"
#include "base/Observable.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace rewindle {

/// The pace that is asked of a display link, in frames per second.
struct FrameRateRange {
    double minimum = 0;
    double maximum = 0;
    double preferred = 0;
    friend bool operator==(const FrameRateRange&, const FrameRateRange&) = default;
};

/// Calls once per frame of a window's display, from when it was made until it is destroyed.
///
/// Threads:   interface thread.
/// Lifecycle: may be destroyed from within its own call.
class DisplayLink {
public:
    virtual ~DisplayLink() = default;
    /// Frames per second, within the range that was asked for.
    [[nodiscard]] virtual double framesPerSecond() const = 0;
};

/// A window, or an opaque piece of one, that lies in front of another.
struct CoveringWindow {
    Rect rect;        // in the coordinates of `AnimatedWindow::frame`
    double alpha = 1; // of the whole window, 0 to 1
    friend bool operator==(const CoveringWindow&, const CoveringWindow&) = default;
};

enum class WindowNotification { occlusionStateChanged, becameKey, resignedKey };

/// A window with moving content, as its frame clock sees it.
///
/// Threads: interface thread.
class AnimatedWindow {
public:
    virtual ~AnimatedWindow() = default;

    [[nodiscard]] virtual bool isKey() const = 0; // has the keyboard
    [[nodiscard]] virtual bool isMiniaturized() const = 0;
    /// Whether the window server shows it, be it behind others.
    [[nodiscard]] virtual bool isOnScreen() const = 0;
    /// The window server's word on whether any part of it can be seen. It need not know of windows in front.
    [[nodiscard]] virtual bool isOcclusionVisible() const = 0;

    [[nodiscard]] virtual Rect frame() const = 0;
    /// The windows on the screen in front of this one, in any order; empty where the desktop does not tell.
    [[nodiscard]] virtual std::vector<CoveringWindow> windowsAbove() const = 0;

    [[nodiscard]] virtual bool hasContentView() const = 0;
    /// A link to the display that shows the content view, at the display's own rate unless a range is given. Null
    /// without a content view.
    [[nodiscard]] virtual std::unique_ptr<DisplayLink> makeDisplayLink(std::optional<FrameRateRange> range,
                                                                       std::function<void()> onFrame) = 0;

    /// Occlusion-state changes come also when the window is miniaturised, shown, hidden, and when it goes away for
    /// good: no weak reference to it resolves then.
    [[nodiscard]] virtual Observation observe(WindowNotification notification, std::function<void()> handler) = 0;
};

} // namespace rewindle
