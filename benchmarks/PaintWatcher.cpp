#include "PaintWatcher.h"

#include <algorithm>
#include <cstdlib>
#include <poll.h>
#include <stdexcept>
#include <xcb/damage.h>

namespace rewindle::bench {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

struct Free {
    void operator()(void* memory) const {
        std::free(memory);
    } // NOLINT(cppcoreguidelines-no-malloc): from a C library
};
template <class T>
using Owned = std::unique_ptr<T, Free>;

/// Nearly all of the window has been drawn: an edge of it may stand beyond the screen's.
bool coversWindow(const xcb_damage_notify_event_t& damage) {
    const auto pixels = [](const xcb_rectangle_t& area) { return int{area.width} * int{area.height}; };
    return 10 * pixels(damage.area) >= 9 * pixels(damage.geometry);
}

} // namespace

PaintWatcher::PaintWatcher() : connection_(xcb_connect(nullptr, nullptr)) {
    auto* const connection = connection_.get();
    const auto* const extension = xcb_get_extension_data(connection, &xcb_damage_id);
    if (!extension || !extension->present) throw std::runtime_error("no display that reports damage");
    damageNotify_ = static_cast<std::uint8_t>(extension->first_event + XCB_DAMAGE_NOTIFY);
    const Owned<xcb_damage_query_version_reply_t> version(
        xcb_damage_query_version_reply(connection, xcb_damage_query_version(connection, 1, 1), nullptr));
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &events);
    xcb_flush(connection);
}

void PaintWatcher::begin() {
    while (const Owned<xcb_generic_event_t> event{xcb_poll_for_event(connection_.get())}) {
    }
    windows_.clear();
}

PaintWatcher::Time PaintWatcher::firstPaintedFrame() {
    const auto deadline = Clock::now() + 10s;
    while (!isPainted()) {
        const Owned<xcb_generic_event_t> event(nextEvent(deadline));
        if (!event) throw std::runtime_error("no window was painted");
        handle(*event);
    }
    return Clock::now();
}

xcb_generic_event_t* PaintWatcher::nextEvent(Time deadline) {
    while (true) {
        if (auto* const event = xcb_poll_for_event(connection_.get())) return event;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd readable{xcb_get_file_descriptor(connection_.get()), POLLIN, 0};
        if (left <= 0ms || poll(&readable, 1, static_cast<int>(left.count())) <= 0) return nullptr;
    }
}

void PaintWatcher::handle(const xcb_generic_event_t& event) {
    const auto type = event.response_type & 0x7F;
    const auto* const bytes = static_cast<const void*>(&event);
    if (type == XCB_CREATE_NOTIFY) {
        const auto window = static_cast<const xcb_create_notify_event_t*>(bytes)->window;
        windows_[window] = {};
        xcb_damage_create(connection_.get(), xcb_generate_id(connection_.get()), window,
                          XCB_DAMAGE_REPORT_LEVEL_BOUNDING_BOX);
        xcb_flush(connection_.get());
    } else if (type == XCB_REPARENT_NOTIFY) {
        windows_[static_cast<const xcb_reparent_notify_event_t*>(bytes)->window].isManaged = true;
    } else if (type == damageNotify_) {
        const auto& damage = *static_cast<const xcb_damage_notify_event_t*>(bytes);
        windows_[damage.drawable].isPainted |= coversWindow(damage);
    }
}

bool PaintWatcher::isPainted() const {
    return std::ranges::any_of(windows_,
                               [](const auto& entry) { return entry.second.isManaged && entry.second.isPainted; });
}

} // namespace rewindle::bench
