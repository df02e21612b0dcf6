#pragma once

#include "DamageReports.h"

#include <chrono>
#include <map>

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
    struct Seen {
        bool isManaged = false;
        bool isPainted = false;
    };
    /// None when the time is up.
    DamageReports::Owned<xcb_generic_event_t> nextEvent(Time deadline);
    void handle(const xcb_generic_event_t& event);
    [[nodiscard]] bool isPainted() const;

    DamageReports reports_;
    std::map<xcb_window_t, Seen> windows_;
};

} // namespace rewindle::bench
