#pragma once

#include "platform/DefaultsStore.h"
#include "ui/pages/OnboardingView.h"
#include "ui/pages/PermissionView.h"
#include "ui/pages/WaveformWindowView.h"

class QStackedLayout;

namespace rewindle {

/// What fills the main window: the onboarding at the first start, then the main screen while access is granted, else
/// the way to it. Pages are made when they are first shown.
///
/// Threads:   interface thread.
/// Lifecycle: everything that it is given outlives it.
class RootView final : public QWidget {
public:
    static constexpr std::string_view kOnboardingKey = "com.rewindle.hasSeenOnboarding";

    /// Makes the main screen.
    using WaveformPage = std::function<WaveformWindowView*()>;
    RootView(AppSession& session, DefaultsStore& defaults, const NightfallTheme& theme, WaveformPage makeWaveform);

    [[nodiscard]] bool showOnboarding() const { return showOnboarding_; }
    /// The onboarding is fading away from above what comes next.
    [[nodiscard]] bool isExpandingToWaveform() const { return isExpandingToWaveform_; }
    /// None before it is first shown.
    [[nodiscard]] WaveformWindowView* waveformWindowView() const { return waveform_; }

private:
    void dismissOnboarding();
    void expandToWaveform(const QPixmap& before);
    void showPage();
    [[nodiscard]] QWidget* page();
    template <class Page, class Make>
    Page* makeOnce(Page*& page, Make make);

    AppSession& session_;
    DefaultsStore& defaults_;
    const NightfallTheme& theme_;
    const WaveformPage makeWaveform_;
    bool showOnboarding_;
    bool isExpandingToWaveform_ = false;
    QStackedLayout* pages_;
    OnboardingView* onboarding_ = nullptr;
    PermissionView* permission_ = nullptr;
    WaveformWindowView* waveform_ = nullptr;
    Observation observation_;
};

} // namespace rewindle
