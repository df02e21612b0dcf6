#pragma once

#include <functional>
#include <string>
#include <vector>

namespace rewindle {

/// How the status item looks.
struct StatusItemAppearance {
    std::string imageName;           // a template image: drawn in the bar's own colour
    std::string fallbackSymbol;      // when there is no such image
    std::string fallbackDescription; // of the symbol, for screen readers
    double imageSize = 0;            // points, square
    std::string toolTip;
    friend bool operator==(const StatusItemAppearance&, const StatusItemAppearance&) = default;
};

struct StatusMenuItem {
    std::string title;         // empty: a separator
    std::string keyEquivalent; // empty: none
    std::function<void()> action;
};

enum class StatusItemClick { leftMouseUp, rightMouseUp };

/// The program's place in the desktop's status bar. It appears whenever a bar is there, and again after the bar has
/// been restarted.
///
/// Threads: interface thread.
class StatusItem {
public:
    virtual ~StatusItem() = default;
    /// Makes the item visible. `menu` is what `popUpMenu` shows; a bar that opens menus by itself on the right button
    /// shows the same one without a click being told. Requires: not installed.
    virtual void install(const StatusItemAppearance& appearance, std::vector<StatusMenuItem> menu,
                         std::function<void(StatusItemClick)> onClick) = 0;
    /// Shows the menu that many points below the item's height.
    virtual void popUpMenu(double pointsBelow) = 0;
    /// Whether a bar shows the item now.
    [[nodiscard]] virtual bool isShown() const = 0;
};

} // namespace rewindle
