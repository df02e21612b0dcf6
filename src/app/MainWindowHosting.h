#pragma once

#include "app/MainWindowPresentation.h"
#include "platform/DefaultsStore.h"
#include "platform/Window.h"
#include "settings/SettingsManager.h"

#include <functional>
#include <string_view>

namespace rewindle {

/// Finds, shows, hides and lays out the main window.
///
/// Threads: interface thread.
class MainWindowHosting {
public:
    static constexpr std::string_view kLayoutKey = "com.rewindle.hasAppliedDefaultWindowLayout";
    /// Requires: all arguments outlive this.
    MainWindowHosting(Application& application, MainWindowPresentation& presentation, DefaultsStore& defaults,
                      const SettingsManager& settings);

    /// Marks the main window when it is made (null when it goes). Its first layout is applied here, once ever.
    void setMainWindow(Window* window);
    [[nodiscard]] Window* mainWindow() const { return window_; }

    /// Brings the main window to the front, opening it first when there is none.
    void show();
    /// Hides the main window, out of full screen first; nothing ends.
    void hide();
    /// A full-width strip at the top of the screen.
    void applyDefaultFrame(bool animate, const std::function<void()>& completion = {});

    /// Called each time the main window has been revealed ("rewindle.mainWindowDidReveal").
    [[nodiscard]] Observation observeReveal(std::function<void()> observer);

private:
    Application& application_;
    MainWindowPresentation& presentation_;
    DefaultsStore& defaults_;
    const SettingsManager& settings_;
    Window* window_ = nullptr;
    bool isHiding_ = false; // on its way out of full screen, to be hidden then
    Observable<unsigned> reveals_{0};
};

} // namespace rewindle
