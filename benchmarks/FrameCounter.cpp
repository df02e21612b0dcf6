#include "FrameCounter.h"

#include <algorithm>

namespace rewindle::bench {

FrameCounter::FrameCounter(xcb_window_t window) {
    reports_.watch(window, XCB_DAMAGE_REPORT_LEVEL_RAW_RECTANGLES);
}

std::vector<FrameCounter::PixelSize> FrameCounter::painted() const {
    // With the answer comes all that was reported before.
    auto* const connection = reports_.connection();
    const XcbReply<xcb_get_input_focus_reply_t> answer(
        xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
    std::vector<PixelSize> sizes;
    while (const auto event = reports_.poll()) {
        if (const auto* const damage = reports_.damageOf(*event))
            sizes.emplace_back(damage->area.width, damage->area.height);
    }
    return sizes;
}

int FrameCounter::count(PixelSize size) const {
    const auto sizes = painted();
    return static_cast<int>(std::ranges::count(sizes, size));
}

} // namespace rewindle::bench
