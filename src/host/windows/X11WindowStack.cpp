#include "host/windows/X11WindowStack.h"

#include "host/windows/XcbReply.h"

#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>
#include <xcb/xcb.h>

namespace rewindle {
namespace {

constexpr std::chrono::milliseconds kCoalescing(50);
constexpr std::uint32_t kEveryDesktop = 0xffffffff;
constexpr std::uint32_t kOpaque = 0xffffffff;
constexpr std::uint32_t kLongestProperty = 4'096; // of 32 bits each
constexpr std::uint8_t kDepthWithAlpha = 32;

xcb_get_property_cookie_t askProperty(xcb_connection_t* connection, xcb_window_t window, xcb_atom_t name) {
    return xcb_get_property(connection, 0, window, name, XCB_GET_PROPERTY_TYPE_ANY, 0, kLongestProperty);
}

/// The numbers in a property; none when it is not there.
std::vector<std::uint32_t> numbers(xcb_connection_t* connection, xcb_get_property_cookie_t asked) {
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, asked, nullptr));
    if (!reply || reply->format != 32) return {};
    const auto* const first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

std::optional<std::uint32_t> number(xcb_connection_t* connection, xcb_get_property_cookie_t asked) {
    const auto all = numbers(connection, asked);
    return all.empty() ? std::nullopt : std::optional(all.front());
}

/// `rect` with margins (left, right, top, bottom) around it, or inside it for a negative `sign`.
Rect grown(const Rect& rect, const std::vector<std::uint32_t>& margins, int sign) {
    if (margins.size() < 4) return rect;
    const double left = sign * double(margins[0]), right = sign * double(margins[1]);
    const double top = sign * double(margins[2]), bottom = sign * double(margins[3]);
    return {rect.x - left, rect.y - top, rect.width + left + right, rect.height + top + bottom};
}

} // namespace

/// Questions about a window that are on their way.
struct X11WindowStack::Request {
    xcb_get_window_attributes_cookie_t attributes;
    xcb_get_geometry_cookie_t geometry;
    xcb_translate_coordinates_cookie_t place;
    xcb_get_property_cookie_t desktop, state, opacity, borders, shadows, opaqueRegion;
};

struct X11WindowStack::Window {
    bool isOnScreen = false;
    Rect frame;
    std::vector<CoveringWindow> parts; // those of which the opacity is known
};

X11WindowStack::X11WindowStack(std::function<void()> onChange) : connection_(xcb_connect(nullptr, nullptr)) {
    coalescing_.setSingleShot(true);
    QObject::connect(&coalescing_, &QTimer::timeout, &coalescing_, std::move(onChange));
    if (xcb_connection_has_error(connection_) != 0) return;
    root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
    internAtoms();
    notifier_ = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection_), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { readEvents(); });
}

X11WindowStack::~X11WindowStack() {
    notifier_.reset(); // before its descriptor
    xcb_disconnect(connection_);
}

void X11WindowStack::internAtoms() {
    constexpr std::array<std::string_view, atomCount> kNames{
        "_NET_CLIENT_LIST_STACKING", "_NET_CURRENT_DESKTOP",   "_NET_WM_DESKTOP",    "_NET_WM_STATE",
        "_NET_WM_STATE_HIDDEN",      "_NET_WM_WINDOW_OPACITY", "_NET_FRAME_EXTENTS", "_GTK_FRAME_EXTENTS",
        "_NET_WM_OPAQUE_REGION"};
    std::array<xcb_intern_atom_cookie_t, atomCount> asked;
    for (std::size_t i = 0; i < atomCount; ++i)
        asked[i] = xcb_intern_atom(connection_, 0, static_cast<std::uint16_t>(kNames[i].size()), kNames[i].data());
    for (std::size_t i = 0; i < atomCount; ++i) {
        const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection_, asked[i], nullptr));
        if (reply) atoms_[i] = reply->atom;
    }
}

X11WindowStack::View X11WindowStack::viewOf(std::uint32_t window) {
    const auto askedStack = askProperty(connection_, root_, atoms_[stackingAtom]);
    const auto askedDesktop = askProperty(connection_, root_, atoms_[currentDesktopAtom]);
    const auto own = request(window);
    const auto stack = numbers(connection_, askedStack); // the lowest first
    const auto currentDesktop = number(connection_, askedDesktop);
    const auto place = std::ranges::find(stack, window);
    const std::vector<std::uint32_t> above(place == stack.end() ? place : place + 1, stack.end());

    if (watches_) { // before they are asked: no change is missed
        std::set<std::uint32_t> watched(above.begin(), above.end());
        watched.insert(window);
        watchProperties(std::move(watched));
    }
    std::vector<Request> requests;
    std::ranges::transform(above, std::back_inserter(requests), [this](auto id) { return request(id); });
    const auto self = read(own, currentDesktop);
    View view{.isOnScreen = self.isOnScreen, .frame = self.frame, .above = {}};
    for (const auto& asked : requests) {
        const auto other = read(asked, currentDesktop);
        if (other.isOnScreen) view.above.insert(view.above.end(), other.parts.begin(), other.parts.end());
    }
    readEvents(); // some may have come with the answers, and nobody would be woken for them
    return view;
}

X11WindowStack::Request X11WindowStack::request(std::uint32_t window) const {
    const auto property = [&](AtomIndex name) { return askProperty(connection_, window, atoms_[name]); };
    return {.attributes = xcb_get_window_attributes(connection_, window),
            .geometry = xcb_get_geometry(connection_, window),
            .place = xcb_translate_coordinates(connection_, window, root_, 0, 0),
            .desktop = property(desktopAtom),
            .state = property(stateAtom),
            .opacity = property(opacityAtom),
            .borders = property(bordersAtom),
            .shadows = property(shadowsAtom),
            .opaqueRegion = property(opaqueRegionAtom)};
}

X11WindowStack::Window X11WindowStack::read(const Request& request,
                                            std::optional<std::uint32_t> currentDesktop) const {
    // Every answer is fetched, wanted or not: one that is left behind would stay in the connection for good.
    const XcbReply<xcb_get_window_attributes_reply_t> attributes(
        xcb_get_window_attributes_reply(connection_, request.attributes, nullptr));
    const XcbReply<xcb_get_geometry_reply_t> geometry(xcb_get_geometry_reply(connection_, request.geometry, nullptr));
    const XcbReply<xcb_translate_coordinates_reply_t> place(
        xcb_translate_coordinates_reply(connection_, request.place, nullptr));
    const auto desktop = number(connection_, request.desktop);
    const auto states = numbers(connection_, request.state);
    const auto opacity = number(connection_, request.opacity).value_or(kOpaque);
    const auto borders = numbers(connection_, request.borders);
    const auto shadows = numbers(connection_, request.shadows);
    const auto region = numbers(connection_, request.opaqueRegion);
    if (!attributes || !geometry || !place) return {};

    Window window;
    window.isOnScreen = attributes->map_state == XCB_MAP_STATE_VIEWABLE &&
                        !std::ranges::count(states, atoms_[hiddenAtom]) &&
                        (!desktop || !currentDesktop || *desktop == *currentDesktop || *desktop == kEveryDesktop ||
                         // Each monitor may show a desktop of its own. Window managers that do so unmap the others.
                         QGuiApplication::screens().size() > 1);
    const Rect content{double(place->dst_x), double(place->dst_y), double(geometry->width), double(geometry->height)};
    window.frame = grown(grown(content, borders, 1), shadows, -1);
    const double alpha = double(opacity) / kOpaque;
    if (geometry->depth != kDepthWithAlpha) {
        window.parts = {{window.frame, alpha}};
    } else { // only what it promises to fill: the rest may be a shadow, or glass
        for (std::size_t i = 0; i + 4 <= region.size(); i += 4) {
            const Rect part{content.x + region[i], content.y + region[i + 1], double(region[i + 2]),
                            double(region[i + 3])};
            window.parts.push_back({part, alpha});
        }
    }
    return window;
}

void X11WindowStack::watch(bool watches) {
    if (std::exchange(watches_, watches) == watches) return;
    selectEvents(root_, watches ? XCB_EVENT_MASK_PROPERTY_CHANGE | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY : 0);
    if (!watches) {
        watchProperties({});
        coalescing_.stop();
    }
    xcb_flush(connection_);
}

void X11WindowStack::watchProperties(std::set<std::uint32_t> windows) {
    for (const auto window : windows) {
        if (!propertiesWatched_.contains(window)) selectEvents(window, XCB_EVENT_MASK_PROPERTY_CHANGE);
    }
    for (const auto window : propertiesWatched_) {
        if (!windows.contains(window)) selectEvents(window, 0);
    }
    propertiesWatched_ = std::move(windows);
    xcb_flush(connection_);
}

void X11WindowStack::selectEvents(std::uint32_t window, std::uint32_t mask) const {
    xcb_change_window_attributes(connection_, window, XCB_CW_EVENT_MASK, &mask);
}

void X11WindowStack::readEvents() {
    while (const XcbReply<xcb_generic_event_t> event{xcb_poll_for_event(connection_)}) {
        const auto type = event->response_type & 0x7fU; // 0 is an error: about a window that has gone
        const bool moved = type == XCB_CONFIGURE_NOTIFY || type == XCB_MAP_NOTIFY || type == XCB_UNMAP_NOTIFY;
        const bool changed = type == XCB_PROPERTY_NOTIFY &&
                             isTelling(reinterpret_cast<const xcb_property_notify_event_t&>(*event).atom);
        if (watches_ && (moved || changed) && !coalescing_.isActive()) coalescing_.start(kCoalescing);
    }
    // A dead connection is readable for ever.
    if (notifier_ && xcb_connection_has_error(connection_) != 0) notifier_->setEnabled(false);
}

/// Whether a window in front may hide more or less because of a change of this property.
bool X11WindowStack::isTelling(std::uint32_t property) const {
    constexpr std::array kTelling{stackingAtom, currentDesktopAtom, desktopAtom,
                                  stateAtom,    opacityAtom,        opaqueRegionAtom};
    return std::ranges::any_of(kTelling, [&](AtomIndex index) { return atoms_[index] == property; });
}

} // namespace rewindle
