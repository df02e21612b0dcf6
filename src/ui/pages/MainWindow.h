#pragma once

#include "host/windows/QtAnimatedWindow.h"
#include "ui/pages/RootView.h"
#include "ui/waveform/WaveformKeyMonitor.h"

namespace rewindle {

/// The main window. Closing it only asks for it to be hidden; it is dimmed while a dialog above it waits for an answer.
///
/// Threads:   interface thread.
/// Lifecycle: everything that it is given outlives it.
class MainWindow final : public QWidget {
public:
    static constexpr int kLeastWidth = 480, kLeastHeight = 200;
    MainWindow(AppSession& session, CaptureControl& control, const WaveformServices& waveform,
               DefaultsStore& defaults, const NightfallTheme& theme, const Actions& actions);
    ~MainWindow() override;

    [[nodiscard]] RootView& rootView() { return *root_; }

protected:
    void closeEvent(QCloseEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;

private:
    [[nodiscard]] WaveformWindowView* makeWaveformPage(AppSession& session, CaptureControl& control,
                                                       const WaveformServices& waveform,
                                                       const NightfallTheme& theme) const;
    void addShortcuts();

    const Actions& actions_;
    std::shared_ptr<QtAnimatedWindow> animatedWindow_;
    std::shared_ptr<WindowAnimationDriver> driver_;
    WaveformKeyMonitor* keyMonitor_;
    RootView* root_;
    QWidget* dialogLock_;
};

} // namespace rewindle
