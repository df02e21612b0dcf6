#include "PaintWatcher.h"

#include <algorithm>
#include <poll.h>
#include <stdexcept>

namespace rewindle::bench {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

/// Nearly all of the window has been drawn: an edge of it may stand beyond the screen's.
bool coversWindow(const xcb_damage_notify_event_t& damage) {
    const auto pixels = [](const xcb_rectangle_t& area) { return int{area.width} * int{area.height}; };
    return 10 * pixels(damage.area) >= 9 * pixels(damage.geometry);
}

} // namespace

PaintWatcher::PaintWatcher() {
    auto* const connection = reports_.connection();
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection)).data->root;
    const std::uint32_t events = XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY;
    xcb_change_window_attributes(connection, root, XCB_CW_EVENT_MASK, &events);
    xcb_flush(connection);
}

void PaintWatcher::begin() {
    while (reports_.poll()) {
    }
    windows_.clear();
}

PaintWatcher::Time PaintWatcher::firstPaintedFrame() {
    const auto deadline = Clock::now() + 10s;
    while (!isPainted()) {
        const auto event = nextEvent(deadline);
        if (!event) throw std::runtime_error("no window was painted");
        handle(*event);
    }
    return Clock::now();
}

DamageReports::Owned<xcb_generic_event_t> PaintWatcher::nextEvent(Time deadline) {
    while (true) {
        if (auto event = reports_.poll()) return event;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        pollfd readable{xcb_get_file_descriptor(reports_.connection()), POLLIN, 0};
        if (left <= 0ms || poll(&readable, 1, static_cast<int>(left.count())) <= 0) return nullptr;
    }
}

void PaintWatcher::handle(const xcb_generic_event_t& event) {
    const auto type = event.response_type & 0x7F;
    const auto* const bytes = static_cast<const void*>(&event);
    if (type == XCB_CREATE_NOTIFY) {
        const auto window = static_cast<const xcb_create_notify_event_t*>(bytes)->window;
        windows_[window] = {};
        reports_.watch(window, XCB_DAMAGE_REPORT_LEVEL_BOUNDING_BOX);
    } else if (type == XCB_REPARENT_NOTIFY) {
        windows_[static_cast<const xcb_reparent_notify_event_t*>(bytes)->window].isManaged = true;
    } else if (const auto* const damage = reports_.damageOf(event)) {
        windows_[damage->drawable].isPainted |= coversWindow(*damage);
    }
}

bool PaintWatcher::isPainted() const {
    return std::ranges::any_of(windows_,
                               [](const auto& entry) { return entry.second.isManaged && entry.second.isPainted; });
}

} // namespace rewindle::bench
