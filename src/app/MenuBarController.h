#pragma once

#include "platform/StatusItem.h"

#include <functional>

namespace rewindle {

/// The status item: a click shows the main window, its menu shows it or quits.
///
/// Threads: interface thread.
class MenuBarController {
public:
    struct Actions {
        std::function<void()> showMainWindow;
        std::function<void()> quitApp;
    };
    /// Requires: `statusItem` outlives this.
    MenuBarController(StatusItem& statusItem, Actions actions)
        : statusItem_(statusItem), actions_(std::move(actions)) {}

    /// Once; a second call does nothing.
    void installStatusItem();
    void handleClick(StatusItemClick click);

private:
    StatusItem& statusItem_;
    Actions actions_;
    bool isInstalled_ = false;
};

} // namespace rewindle
