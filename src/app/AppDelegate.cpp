#include "app/AppDelegate.h"

#include <utility>

namespace rewindle {

void AppDelegate::finishedLaunching(bool hidden) {
    services_.menuBar.installStatusItem();
    if (hidden) return services_.mainQueue.async([this] { beginSession(); });
    services_.mainWindow.show();
    services_.mainWindow.mainWindow()->afterNextFrame([this] { beginSession(); });
}

void AppDelegate::beginSession() {
    isReadyToStop_ = true;
    services_.session.begin();
    services_.session.permission().reconcileOnLaunch([this] {
        // Access may have been granted before the first start, by a command.
        services_.session.permission().consentChanged();
    });
}

void AppDelegate::becameActive() {
    services_.mainQueue.async([this] { services_.session.permission().foregroundCheck(); });
}

bool AppDelegate::shouldHandleReopen(bool hasVisibleWindows) {
    const auto* const window = services_.mainWindow.mainWindow();
    if (window && window->isVisible() && !window->isMiniaturized() && hasVisibleWindows) return true;
    services_.mainWindow.show();
    return false;
}

void AppDelegate::quit() {
    if (std::exchange(isQuitting_, true)) return;
    services_.mainQueue.async([this] {
        const auto terminate = [this] { services_.application.terminate(); };
        if (!isReadyToStop_) return terminate();
        if (quitHook_) return quitHook_(terminate);
        services_.session.stopCapture(terminate);
    });
}

} // namespace rewindle
