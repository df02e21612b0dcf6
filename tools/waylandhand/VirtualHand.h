#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct wl_display;

namespace rewindle::support {

/// A mouse and a keyboard of one's own on a Wayland desktop, which has them for as long as this lives.
///
/// Errors: throws when the compositor is gone, lets nobody have virtual devices, or when a word means nothing.
class VirtualHand {
public:
    /// On the desktop of the environment, whose screen has this size in pixels.
    VirtualHand(std::uint32_t screenWidth, std::uint32_t screenHeight);
    ~VirtualHand();
    VirtualHand(const VirtualHand&) = delete;
    VirtualHand& operator=(const VirtualHand&) = delete;

    /// "mousemove X Y", "mousedown N", "mouseup N", "click N" (buttons as X11 counts them; 4 and 5 turn the wheel),
    /// "keydown KEYS", "keyup KEYS", "key KEYS..." ("ctrl+s Tab"), one after the other. Returns when the compositor has taken
    /// all of it.
    void act(const std::vector<std::string>& words);

    /// To be waited on; when it is readable, `dispatch`.
    [[nodiscard]] int descriptor() const;
    void dispatch();

private:
    struct Devices;
    std::unique_ptr<Devices> devices_;
};

} // namespace rewindle::support
