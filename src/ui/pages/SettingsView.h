#pragma once

#include "app/Actions.h"
#include "app/AppSession.h"
#include "app/CaptureControl.h"
#include "ui/components/NightfallButton.h"
#include "ui/components/NightfallChoice.h"
#include "ui/components/NightfallSettingsSection.h"
#include "ui/components/NightfallSlider.h"
#include "ui/components/NightfallSwatchPicker.h"
#include "ui/components/NightfallToggle.h"
#include "ui/status/StatusRefresh.h"

namespace rewindle {

/// All settings on one page. Each change takes effect at once, and what changes elsewhere is shown at once.
///
/// Threads:   interface thread.
/// Lifecycle: everything that it is given outlives it.
class SettingsView final : public QWidget {
public:
    SettingsView(AppSession& session, CaptureControl& control, const NightfallTheme& theme, const Actions& actions,
                 QWidget* parent = nullptr);

    /// Gives the keyboard to the consent to hear what the computer plays.
    void focusConsent();

private:
    [[nodiscard]] NightfallSettingsSection* makeRecording();
    [[nodiscard]] NightfallSettingsSection* makeClips();
    [[nodiscard]] NightfallSettingsSection* makeAppearance();
    [[nodiscard]] NightfallSettingsSection* makeConsent();
    [[nodiscard]] NightfallSettingsSection* makeGeneral();
    template <class T>
    void follow(const Observable<T>& observable, const std::function<void()>& show);
    void showFolder();
    void showTheme();
    void showConsent();
    void showDevice(const CaptureStatus& status);

    AppSession& session_;
    SettingsManager& settings_;
    ThemeManager& themes_;
    const NightfallTheme& theme_;
    const Actions& actions_;

    NightfallSettingsRow* gainRow_ = nullptr;
    NightfallSettingsRow* folderRow_ = nullptr;
    NightfallButton* defaultFolder_ = nullptr;
    NightfallSwatchPicker* flavors_ = nullptr;
    NightfallSwatchPicker* accents_ = nullptr;
    NightfallSettingsRow* consentRow_ = nullptr;
    NightfallButton* allow_ = nullptr;
    NightfallButton* revoke_ = nullptr;
    StatusRefresh* refresh_ = nullptr;
    std::vector<Observation> observations_;
};

} // namespace rewindle
