#pragma once

#include "ui/pages/SettingsView.h"

namespace rewindle {

/// The window of the settings. Escape closes it.
///
/// Lifecycle: everything that it is given outlives it.
class SettingsWindow final : public QWidget {
public:
    SettingsWindow(AppSession& session, CaptureControl& control, const NightfallTheme& theme, const Actions& actions);

    /// Shows the window, in front of the others.
    void present();
    /// The same, at the consent to hear what the computer plays.
    void presentConsent();

private:
    SettingsView* view_;
};

} // namespace rewindle
