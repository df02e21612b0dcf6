#pragma once

#include "host/control/ActivationToken.h"

#include <QWidget>

namespace rewindle {

/// Gives windows the keyboard, and shows the desktop what it demands for that.
///
/// Threads: interface thread.
class WindowActivator {
public:
    /// The token for the next window.
    void useToken(const ActivationToken& token);
    /// Puts a visible window, or the dialog that blocks it, in front of all others and gives it the keyboard.
    void activate(QWidget& window);

private:
    ActivationToken token_;
};

} // namespace rewindle
