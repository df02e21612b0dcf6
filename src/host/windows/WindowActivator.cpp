#include "host/windows/WindowActivator.h"

#include "host/windows/X11Activation.h"

#include <QApplication>
#include <QWindow>

#include <utility>

namespace rewindle {

void WindowActivator::useToken(const ActivationToken& token) {
    token_ = token;
    if (isOnX11()) {
        if (!token.startupId.isEmpty()) endStartupSequence(token.startupId);
    } else if (!token.xdgToken.isEmpty()) {
        qputenv("XDG_ACTIVATION_TOKEN", token.xdgToken); // where Qt looks for it when a window is activated
    }
}

void WindowActivator::activate(QWidget& window) {
    window.raise();
    auto* const dialog = QApplication::activeModalWidget();
    auto& target = dialog && dialog->isVisible() ? *dialog->window() : window;
    if (&target != &window) target.raise();
    target.activateWindow();
    const auto token = std::exchange(token_, {});
    if (!isOnX11() || !target.windowHandle()) return;
    // Qt's own request carries the time of the last event that this process saw. When the user has used another
    // program since, window managers do not let it pass.
    const auto clicked = timeOfStartupId(token.startupId);
    requestX11Activation(*target.windowHandle(), clicked ? clicked : currentX11Time());
}

} // namespace rewindle
