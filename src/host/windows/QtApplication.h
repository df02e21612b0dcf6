#pragma once

#include "platform/Window.h"

#include <QObject>

#include <functional>

namespace rewindle {

/// The program as the desktop sees it, on a QApplication.
///
/// Threads:   interface thread.
/// Lifecycle: `identify` before the QApplication is made, the object after it.
class QtApplication final : public QObject, public Application {
    Q_OBJECT

public:
    /// Gives the program its id and names; windows, status item and files of the desktop go by them.
    static void identify();
    QtApplication();

    /// Gives the windows their icon, which takes longer to draw than most of them.
    static void showIcon();
    /// Called whenever one of the program's windows gets the keyboard and none had it before.
    void setBecameActiveHandler(std::function<void()> handler) { onBecameActive_ = std::move(handler); }

    /// Desktops here bring windows to the front, not programs: lifts the visible windows. The one that is then made key
    /// gets the keyboard.
    void activateIgnoringOtherApps() override;
    void terminate() override;

private:
    std::function<void()> onBecameActive_;
};

} // namespace rewindle
