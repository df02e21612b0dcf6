#pragma once

#include <filesystem>
#include <functional>

namespace rewindle {

/// What the windows ask of the program around them. All are set.
struct Actions {
    std::function<void()> openSettings;
    std::function<void(const std::filesystem::path&)> revealFile;
    std::function<void()> closeRequested; // of the main window, which is still visible then
    std::function<void()> quit;
    std::function<void(bool granted)> setConsent;
};

} // namespace rewindle
