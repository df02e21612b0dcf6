#pragma once

#include "host/control/ActivationToken.h"

#include <QWidget>

namespace rewindle {

/// Gives windows the keyboard, with whatever the desktop wants to see for it.
///
/// Threads: interface thread.
class WindowActivator {
public:
    /// The next window is shown for this wish of the user.
    void useToken(const ActivationToken& token);
    /// Puts a visible window, or the dialog that blocks it, in front of all others and gives it the keyboard.
    void activate(QWidget& window);

private:
    ActivationToken token_;
};

} // namespace rewindle
