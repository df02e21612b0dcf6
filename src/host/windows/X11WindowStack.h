#pragma once

#include "platform/AnimatedWindow.h"

#include <QSocketNotifier>
#include <QTimer>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <vector>

struct xcb_connection_t;

namespace rewindle {

/// What an X11 desktop shows in front of a window.
///
/// It has a connection of its own: Qt chooses, and reads, the events of the one that it has.
///
/// Units:     device pixels of the whole desktop.
/// Threads:   interface thread.
/// Errors:    without the server, or a window manager that tells the order of windows, nothing is in front.
/// Lifecycle: make it after the QGuiApplication.
class X11WindowStack {
public:
    struct View {
        bool isOnScreen = false; // mapped, and on the desktop that is shown
        Rect frame;              // with the window manager's borders
        std::vector<CoveringWindow> above;
        friend bool operator==(const View&, const View&) = default;
    };

    /// `onChange` comes a little later than a change that `watch` asked for; several become one.
    explicit X11WindowStack(std::function<void()> onChange);
    ~X11WindowStack();
    X11WindowStack(const X11WindowStack&) = delete;
    X11WindowStack& operator=(const X11WindowStack&) = delete;

    /// Asks the server, which takes two round trips however many windows there are.
    [[nodiscard]] View viewOf(std::uint32_t window);
    /// Whether to report changes of the windows' order, places and opacity.
    void watch(bool watches);

private:
    struct Request;
    struct Window;
    enum AtomIndex : std::uint8_t {
        stackingAtom,
        currentDesktopAtom,
        desktopAtom,
        stateAtom,
        hiddenAtom,
        opacityAtom,
        bordersAtom,
        shadowsAtom,
        opaqueRegionAtom,
        atomCount
    };

    void internAtoms();
    [[nodiscard]] Request request(std::uint32_t window) const;
    [[nodiscard]] Window read(const Request& request, std::optional<std::uint32_t> currentDesktop) const;
    void watchProperties(std::set<std::uint32_t> windows);
    void selectEvents(std::uint32_t window, std::uint32_t mask) const;
    void readEvents();
    [[nodiscard]] bool isTelling(std::uint32_t property) const;

    xcb_connection_t* connection_;
    std::uint32_t root_ = 0;
    std::array<std::uint32_t, atomCount> atoms_{};
    bool watches_ = false;
    std::set<std::uint32_t> propertiesWatched_; // windows whose opacity matters
    std::unique_ptr<QSocketNotifier> notifier_;
    QTimer coalescing_;
};

} // namespace rewindle
