#include "host/windows/X11DisplayRefresh.h"

#include "host/windows/X11Activation.h"
#include "host/windows/XcbReply.h"

#include <cstdint>
#include <thread>
#include <utility>
#include <xcb/present.h>
#include <xcb/xcb.h>

namespace rewindle {
namespace {

/// A connection to the X server with a thread that waits for one refresh after the other.
class X11DisplayRefresh final : public DisplayRefresh {
public:
    explicit X11DisplayRefresh(std::function<void()> onRefresh)
        : onRefresh_(std::move(onRefresh)), connection_(xcb_connect(nullptr, nullptr)) {
        if (xcb_connection_has_error(connection_) != 0) return;
        const auto* const extension = xcb_get_extension_data(connection_, &xcb_present_id);
        if (!extension || !extension->present) return;
        presentOpcode_ = extension->major_opcode;
        root_ = xcb_setup_roots_iterator(xcb_get_setup(connection_)).data->root;
        window_ = xcb_generate_id(connection_);
        xcb_create_window(connection_, 0, window_, root_, -1, -1, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                          XCB_COPY_FROM_PARENT, 0, nullptr);
        xcb_present_select_input(connection_, xcb_generate_id(connection_), root_,
                                 XCB_PRESENT_EVENT_MASK_COMPLETE_NOTIFY);
        askForRefresh(0);
        thread_ = std::thread([this] { run(); });
    }
    ~X11DisplayRefresh() override {
        if (runs()) {
            askToEnd();
            thread_.join();
        }
        xcb_disconnect(connection_);
    }
    X11DisplayRefresh(const X11DisplayRefresh&) = delete;
    X11DisplayRefresh& operator=(const X11DisplayRefresh&) = delete;

    [[nodiscard]] bool runs() const { return thread_.joinable(); }

private:
    void askForRefresh(std::uint64_t number) {
        xcb_present_notify_msc(connection_, root_, 0, number, 0, 0);
        xcb_flush(connection_);
    }
    /// By a message to its own window, for which the thread waits as well.
    void askToEnd() {
        xcb_client_message_event_t event{};
        event.response_type = XCB_CLIENT_MESSAGE;
        event.format = 8;
        event.window = window_;
        xcb_send_event(connection_, 0, window_, XCB_EVENT_MASK_NO_EVENT, reinterpret_cast<const char*>(&event));
        xcb_flush(connection_);
    }
    void run() {
        while (const XcbReply<xcb_generic_event_t> event{xcb_wait_for_event(connection_)}) {
            const auto type = event->response_type & 0x7fU;
            if (type == XCB_CLIENT_MESSAGE) return;
            if (type != XCB_GE_GENERIC) continue;
            const auto& refresh = reinterpret_cast<const xcb_present_complete_notify_event_t&>(*event);
            if (refresh.extension != presentOpcode_ || refresh.event_type != XCB_PRESENT_COMPLETE_NOTIFY) continue;
            onRefresh_();
            askForRefresh(refresh.msc + 1);
        }
    }

    const std::function<void()> onRefresh_;
    xcb_connection_t* const connection_;
    std::uint8_t presentOpcode_ = 0;
    xcb_window_t root_ = XCB_WINDOW_NONE;
    xcb_window_t window_ = XCB_WINDOW_NONE;
    std::thread thread_;
};

} // namespace

std::unique_ptr<DisplayRefresh> followX11DisplayRefresh(std::function<void()> onRefresh) {
    if (!isOnX11()) return nullptr;
    auto refresh = std::make_unique<X11DisplayRefresh>(std::move(onRefresh));
    return refresh->runs() ? std::move(refresh) : nullptr;
}

} // namespace rewindle
