#pragma once

#include <QByteArray>
#include <QVariantMap>

namespace rewindle {

/// Shows the desktop that the user wants to see a window. The program in which the user acted hands it to the one that
/// has the window. Without it a desktop may let the window ask for attention instead of bringing it to the front.
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
