#pragma once

#include <QByteArray>
#include <QVariantMap>

namespace rewindle {

/// A user's wish to see a window, handed from the program in which it was uttered to the one that has the window.
/// Without it a desktop may only let the window ask for attention.
struct ActivationToken {
    QByteArray xdgToken;  // of the xdg-activation protocol
    QByteArray startupId; // of X11 startup notification; usually ends in the time of the click

    /// What a launcher gave this process. X11's part is gone once Qt has opened the display.
    [[nodiscard]] static ActivationToken fromEnvironment();
    /// The a{sv} that accompanies the methods of org.freedesktop.Application, and the way back.
    [[nodiscard]] static ActivationToken fromPlatformData(const QVariantMap& platformData);
    [[nodiscard]] QVariantMap toPlatformData() const;

    friend bool operator==(const ActivationToken&, const ActivationToken&) = default;
};

} // namespace rewindle
