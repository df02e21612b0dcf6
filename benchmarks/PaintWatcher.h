#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <xcb/xcb.h>

namespace rewindle::bench {

/// Tells from outside when another program has painted its window for the first time: the X server reports what is
/// drawn into each window from the moment that it is made.
///
/// Threads: one.
/// Errors:  throws when the display cannot be reached, or no window is painted within 10 s.
class PaintWatcher {
public:
    using Time = std::chrono::steady_clock::time_point;

    PaintWatcher();

    /// Forgets the windows that exist. Call before the program starts.
    void begin();
    /// Waits until a window that the window manager has taken on is drawn all over. What else the program makes, to own
    /// a selection say, does not count.
    Time firstPaintedFrame();

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    struct Seen {
        bool isManaged = false;
        bool isPainted = false;
    };
    /// None when the time is up.
    xcb_generic_event_t* nextEvent(Time deadline);
    void handle(const xcb_generic_event_t& event);
    [[nodiscard]] bool isPainted() const;

    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    std::uint8_t damageNotify_ = 0; // the number of that event
    std::map<xcb_window_t, Seen> windows_;
};

} // namespace rewindle::bench
