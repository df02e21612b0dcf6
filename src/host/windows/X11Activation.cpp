#include "host/windows/X11Activation.h"

#include "host/windows/XcbReply.h"

#include <QGuiApplication>

#include <algorithm>
#include <string_view>
#include <xcb/xcb.h>

namespace rewindle {
namespace {

xcb_connection_t* qtConnection() {
    const auto* const x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    return x11 ? x11->connection() : nullptr;
}

xcb_atom_t atom(xcb_connection_t* connection, std::string_view name) {
    const auto asked = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
    const XcbReply<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, asked, nullptr));
    return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

void sendToRoot(xcb_connection_t* connection, xcb_window_t root, std::uint32_t mask,
                const xcb_client_message_event_t& event) {
    xcb_send_event(connection, 0, root, mask, reinterpret_cast<const char*>(&event));
}

/// A connection of its own with an unseen window, because Qt reads all that comes on its own one.
class Errand {
public:
    Errand() : connection_(xcb_connect(nullptr, nullptr)) {
        if (!works()) return;
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        window_ = xcb_generate_id(connection_);
        const std::uint32_t events = XCB_EVENT_MASK_PROPERTY_CHANGE;
        xcb_create_window(connection_, 0, window_, root_, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &events);
    }
    ~Errand() { xcb_disconnect(connection_); }
    Errand(const Errand&) = delete;
    Errand& operator=(const Errand&) = delete;

    [[nodiscard]] bool works() const { return xcb_connection_has_error(connection_) == 0; }

    /// Changes a property, because the server tells when that was.
    [[nodiscard]] X11Time now() const {
        xcb_change_property(connection_, XCB_PROP_MODE_APPEND, window_, XCB_ATOM_WM_NAME, XCB_ATOM_STRING, 8, 0,
                            nullptr);
        xcb_flush(connection_);
        while (const XcbReply<xcb_generic_event_t> event{xcb_wait_for_event(connection_)}) {
            if ((event->response_type & 0x7fU) != XCB_PROPERTY_NOTIFY) continue;
            return reinterpret_cast<const xcb_property_notify_event_t*>(event.get())->time;
        }
        return 0;
    }

    /// Sends a text to the listeners for startup notification, in pieces of 20 bytes as their protocol has it.
    void announce(const QByteArray& text) const {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 8;
        event.window = window_;
        event.type = atom(connection_, "_NET_STARTUP_INFO_BEGIN");
        const auto last = static_cast<qsizetype>(text.size()); // the zero behind the text goes along
        for (qsizetype at = 0; at <= last; at += kPieceBytes) {
            std::fill(std::begin(event.data.data8), std::end(event.data.data8), std::uint8_t{0});
            std::copy_n(text.constData() + at, std::min(kPieceBytes, last - at), event.data.data8);
            sendToRoot(connection_, root_, XCB_EVENT_MASK_PROPERTY_CHANGE, event);
            event.type = atom(connection_, "_NET_STARTUP_INFO");
        }
        // The window must not go before the message has arrived.
        const XcbReply<xcb_get_input_focus_reply_t> arrived(
            xcb_get_input_focus_reply(connection_, xcb_get_input_focus(connection_), nullptr));
    }

private:
    static constexpr qsizetype kPieceBytes = 20;
    xcb_connection_t* connection_;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    xcb_window_t window_ = XCB_WINDOW_NONE;
};

} // namespace

bool isOnX11() {
    return qtConnection() != nullptr;
}

X11Time timeOfStartupId(const QByteArray& id) {
    const auto mark = id.lastIndexOf("_TIME");
    return mark < 0 ? 0 : id.mid(mark + 5).toUInt(); // 0 also when no number follows
}

X11Time currentX11Time() {
    const Errand errand;
    return errand.works() ? errand.now() : 0;
}

void endStartupSequence(const QByteArray& id) {
    auto quoted = id;
    quoted.replace('\\', "\\\\").replace('"', "\\\"");
    const Errand errand;
    if (errand.works()) errand.announce("remove: ID=\"" + quoted + "\"");
}

void requestX11Activation(const QWindow& window, X11Time time) {
    auto* const connection = qtConnection();
    const auto id = static_cast<xcb_window_t>(window.winId());
    const XcbReply<xcb_get_geometry_reply_t> geometry(
        xcb_get_geometry_reply(connection, xcb_get_geometry(connection, id), nullptr));
    if (!geometry) return;
    xcb_client_message_event_t event{};
    event.response_type = XCB_CLIENT_MESSAGE;
    event.format = 32;
    event.window = id;
    event.type = atom(connection, "_NET_ACTIVE_WINDOW");
    event.data.data32[0] = 1; // an application asks
    event.data.data32[1] = time;
    sendToRoot(connection, geometry->root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
               event);
    xcb_flush(connection);
}

} // namespace rewindle
