#pragma once

#include "app/Actions.h"
#include "app/AppSession.h"
#include "app/CaptureControl.h"
#include "ui/components/NightfallBanner.h"
#include "ui/components/NightfallButton.h"
#include "ui/status/LevelFigures.h"
#include "ui/status/LevelStrip.h"
#include "ui/status/StatusDot.h"
#include "ui/status/StatusRefresh.h"
#include "ui/waveform/WaveformViewRepresentable.h"

#include <QTimer>

#include <optional>

namespace rewindle {

/// The main screen: what is listened to, the picture of what is kept, and the button that saves it.
///
/// Threads:   interface thread.
/// Lifecycle: everything that it is given outlives it.
class WaveformWindowView final : public QWidget {
public:
    /// `driver` is the frame clock of the window that the page will be in.
    WaveformWindowView(AppSession& session, CaptureControl& control, const WaveformServices& waveform,
                       const std::shared_ptr<WindowAnimationDriver>& driver, const NightfallTheme& theme,
                       const Actions& actions);

    /// Saves the selection, or all that is kept when there is none, as one clip.
    void save() { waveform_->view().saveAllCapturedAudioAs(); }
    [[nodiscard]] WaveformViewRepresentable& waveform() { return *waveform_; }
    /// Why the last clip could not be saved; none after one that was.
    [[nodiscard]] const std::optional<std::string>& exportErrorMessage() const { return exportErrorMessage_; }
    [[nodiscard]] bool isRefreshing() const { return refresh_->isActive(); }

protected:
    void hideEvent(QHideEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    [[nodiscard]] QWidget* makeHeader();
    void observe(const std::shared_ptr<WindowAnimationDriver>& driver);
    void showStatus(const CaptureStatus& status);
    void showNotice();
    void showLevelMeter();
    void updateSaveButton();
    void onSaveStarted();
    void onSaveEnded(const ClipSaver::Outcome& outcome);
    void onExportProgress(double fraction);
    void onExportFailure(const std::optional<WaveformExportError>& failure);

    AppSession& session_;
    const NightfallTheme& theme_;
    const Actions& actions_;
    CaptureStatus status_;
    std::optional<int> savedPercent_;            // of the clip that is being saved, when that takes long
    bool saveHadFocus_ = false;                  // when it was pressed: a disabled button cannot keep the keyboard
    std::optional<std::filesystem::path> saved_; // the clip that the notice is about
    QTimer savedIsOld_;
    std::optional<std::string> exportErrorMessage_;

    StatusDot* dot_;
    NightfallLabel* state_;
    NightfallLabel* notice_;
    NightfallButton* reveal_;
    NightfallButton* save_;
    NightfallButton* settings_;
    NightfallBanner* banner_;
    LevelFigures* levels_;
    WaveformViewRepresentable* waveform_;
    LevelStrip* strip_;
    StatusRefresh* refresh_;
    std::vector<Observation> observations_;
};

} // namespace rewindle
