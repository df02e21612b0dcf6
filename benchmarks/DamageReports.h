#pragma once

#include "host/windows/XcbReply.h"

#include <cstdint>
#include <memory>
#include <xcb/damage.h>
#include <xcb/xcb.h>

namespace rewindle::bench {

/// A connection to the X server by which it reports what is drawn into windows, whoever draws.
///
/// Threads: one.
/// Errors:  throws when the display cannot be reached.
class DamageReports {
public:
    DamageReports();

    [[nodiscard]] xcb_connection_t* connection() const { return connection_.get(); }
    void watch(xcb_window_t window, xcb_damage_report_level_t level) const;
    /// The next event that has come; null when none has.
    [[nodiscard]] XcbReply<xcb_generic_event_t> poll() const;
    /// What a report says; null for any other event.
    [[nodiscard]] const xcb_damage_notify_event_t* damageOf(const xcb_generic_event_t& event) const;

private:
    struct Disconnect {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    std::unique_ptr<xcb_connection_t, Disconnect> connection_;
    std::uint8_t damageNotify_ = 0; // the number of that event
};

} // namespace rewindle::bench
