#pragma once

#include "DamageReports.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace rewindle::bench {

/// Tells from outside when another program has painted its window for the first time, or something certain in it: the X
/// server reports what is drawn into each window from the moment that it is made.
///
/// Threads: one.
/// Errors:  throws when the display cannot be reached, or nothing of the kind is painted within 10 s.
class PaintWatcher {
public:
    using Time = std::chrono::steady_clock::time_point;
    /// A column of the window's pixels, where nothing moves.
    using Look = std::vector<std::uint32_t>;

    PaintWatcher();

    /// Forgets the windows that exist. Call before the program starts.
    void begin();
    /// Waits until a window that the window manager has taken on is drawn all over. What else the program makes, to own
    /// a selection say, does not count.
    Time firstPaintedFrame();
    /// Waits until such a window looks like that.
    Time firstFrameWithLook(const Look& look);
    /// How the window that was painted last looks now.
    [[nodiscard]] Look look() const { return lookOf(painted_); }

private:
    struct Seen {
        bool isManaged = false;
        bool isPainted = false;
    };
    /// None when the time is up.
    XcbReply<xcb_generic_event_t> nextEvent(Time deadline);
    void handle(const xcb_generic_event_t& event);
    Time waitUntil(const std::function<bool()>& isReached);
    [[nodiscard]] Look lookOf(xcb_window_t window) const;

    DamageReports reports_;
    std::map<xcb_window_t, Seen> windows_;
    xcb_window_t painted_ = XCB_WINDOW_NONE; // one that is managed and painted; the last to become so
};

} // namespace rewindle::bench
