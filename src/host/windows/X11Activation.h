#pragma once

#include <QByteArray>
#include <QWindow>

#include <cstdint>

namespace rewindle {

/// A moment on the X server's clock, in milliseconds.
using X11Time = std::uint32_t;

[[nodiscard]] bool isOnX11();
/// The moment of the click that a startup id tells; 0 when it tells none.
[[nodiscard]] X11Time timeOfStartupId(const QByteArray& id);
/// Now. 0 when the server cannot be asked.
[[nodiscard]] X11Time currentX11Time();
/// Tells the desktop that a launch has led to a window, so that it ends its waiting pointer.
void endStartupSequence(const QByteArray& id);
/// Asks the window manager for the keyboard, on account of what the user did at `time`. Requires: a window that has been
/// shown, on X11.
void requestX11Activation(const QWindow& window, X11Time time);

} // namespace rewindle
