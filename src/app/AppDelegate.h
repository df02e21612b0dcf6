#pragma once

#include "app/AppSession.h"
#include "app/MainWindowHosting.h"
#include "app/MenuBarController.h"
#include "base/SerialQueue.h"

#include <functional>
#include <memory>

namespace rewindle {

/// Receives the desktop's events for the application as a whole.
///
/// Threads: interface thread.
class AppDelegate {
public:
    /// All of it outlives the delegate.
    struct Services {
        AppSession& session;
        MenuBarController& menuBar;
        MainWindowHosting& mainWindow;
        Application& application;
        SerialQueue& mainQueue;
    };
    explicit AppDelegate(const Services& services) : services_(services) {}

    /// Status item, main window unless `hidden`, then, from the event loop and behind the window's first frame,
    /// consent and capture.
    void finishedLaunching(bool hidden);
    void becameActive();
    /// The user started the program again. True when its window was in front already and nothing was done.
    bool shouldHandleReopen(bool hasVisibleWindows);
    /// Ends capture, then the application. A second call does nothing.
    void quit();

    /// Runs at quit in place of the mere end of capture, where more has to end. `hook` calls its argument when all has
    /// ended.
    void setQuitHook(std::function<void(std::function<void()>)> hook) { quitHook_ = std::move(hook); }

private:
    void beginSession();

    Services services_;
    std::function<void(std::function<void()>)> quitHook_;
    bool isReadyToStop_ = false; // launched far enough that there is something to stop
    bool isQuitting_ = false;
};

} // namespace rewindle
