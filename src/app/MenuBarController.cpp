#include "app/MenuBarController.h"

#include <utility>

namespace rewindle {

void MenuBarController::installStatusItem() {
    if (std::exchange(isInstalled_, true)) return;
    statusItem_.install({.imageName = "MenuBarIcon",
                         .fallbackSymbol = "waveform",
                         .fallbackDescription = "rewindle",
                         .imageSize = 18,
                         .toolTip = "rewindle"},
                        {{.title = "Show rewindle", .keyEquivalent = {}, .action = actions_.showMainWindow},
                         {},
                         {.title = "Quit rewindle", .keyEquivalent = "q", .action = actions_.quitApp}},
                        [this](StatusItemClick click) { handleClick(click); });
}

void MenuBarController::handleClick(StatusItemClick click) {
    constexpr double kMenuGap = 4; // points between the item and its menu
    if (click == StatusItemClick::rightMouseUp) return statusItem_.popUpMenu(kMenuGap);
    actions_.showMainWindow();
}

} // namespace rewindle
