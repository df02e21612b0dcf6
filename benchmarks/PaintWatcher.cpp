#include "PaintWatcher.h"

#include <cstring>
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
    painted_ = XCB_WINDOW_NONE;
}

PaintWatcher::Time PaintWatcher::firstPaintedFrame() {
    return waitUntil([this] { return painted_ != XCB_WINDOW_NONE; });
}

PaintWatcher::Time PaintWatcher::firstFrameWithLook(const Look& look) {
    return waitUntil([&] { return painted_ != XCB_WINDOW_NONE && lookOf(painted_) == look; });
}

PaintWatcher::Time PaintWatcher::waitUntil(const std::function<bool()>& isReached) {
    const auto deadline = Clock::now() + 10s;
    while (!isReached()) {
        const auto event = nextEvent(deadline);
        if (!event) throw std::runtime_error("the window was not painted");
        handle(*event);
    }
    return Clock::now();
}

XcbReply<xcb_generic_event_t> PaintWatcher::nextEvent(Time deadline) {
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
        reports_.watch(window, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
    } else if (type == XCB_REPARENT_NOTIFY) {
        const auto window = static_cast<const xcb_reparent_notify_event_t*>(bytes)->window;
        windows_[window].isManaged = true;
        if (windows_[window].isPainted) painted_ = window;
    } else if (const auto* const damage = reports_.damageOf(event)) {
        auto& seen = windows_[damage->drawable];
        seen.isPainted |= coversWindow(*damage);
        if (seen.isManaged && seen.isPainted) painted_ = damage->drawable;
    }
}

PaintWatcher::Look PaintWatcher::lookOf(xcb_window_t window) const {
    auto* const connection = reports_.connection();
    const XcbReply<xcb_get_geometry_reply_t> place(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
    if (!place) return {};
    const auto x = static_cast<std::int16_t>(place->width * 2 / 5);
    const XcbReply<xcb_get_image_reply_t> image(xcb_get_image_reply(
        connection,
        xcb_get_image(connection, XCB_IMAGE_FORMAT_Z_PIXMAP, window, x, 0, 1, place->height, ~std::uint32_t{0}),
        nullptr));
    if (!image) return {};
    Look look(static_cast<std::size_t>(xcb_get_image_data_length(image.get())) / sizeof(std::uint32_t));
    std::memcpy(look.data(), xcb_get_image_data(image.get()), look.size() * sizeof(std::uint32_t));
    return look;
}

} // namespace rewindle::bench
