#include "DamageReports.h"

#include <stdexcept>

namespace rewindle::bench {

DamageReports::DamageReports() : connection_(xcb_connect(nullptr, nullptr)) {
    const auto* const extension = xcb_get_extension_data(connection(), &xcb_damage_id);
    if (!extension || !extension->present) throw std::runtime_error("no display that reports damage");
    damageNotify_ = static_cast<std::uint8_t>(extension->first_event + XCB_DAMAGE_NOTIFY);
    const XcbReply<xcb_damage_query_version_reply_t> version(
        xcb_damage_query_version_reply(connection(), xcb_damage_query_version(connection(), 1, 1), nullptr));
}

void DamageReports::watch(xcb_window_t window, xcb_damage_report_level_t level) const {
    xcb_damage_create(connection(), xcb_generate_id(connection()), window, static_cast<std::uint8_t>(level));
    xcb_flush(connection());
}

XcbReply<xcb_generic_event_t> DamageReports::poll() const {
    return XcbReply<xcb_generic_event_t>(xcb_poll_for_event(connection()));
}

const xcb_damage_notify_event_t* DamageReports::damageOf(const xcb_generic_event_t& event) const {
    if ((event.response_type & 0x7F) != damageNotify_) return nullptr;
    return static_cast<const xcb_damage_notify_event_t*>(static_cast<const void*>(&event));
}

} // namespace rewindle::bench
