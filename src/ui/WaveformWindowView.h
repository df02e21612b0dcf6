#pragma once

#include "app/AppSession.h"
#include "app/CaptureControl.h"
#include "ui/Actions.h"
#include "ui/LevelStrip.h"
#include "ui/NightfallBanner.h"
#include "ui/NightfallButton.h"
#include "ui/RetainedAudioView.h"
#include "ui/StatusDot.h"
#include "ui/StatusRefresh.h"

#include <optional>

namespace rewindle {

/// The main screen: what is listened to, what is kept, and the button that saves it.
///
/// Threads:   interface thread.
/// Lifecycle: everything that it is given outlives it.
class WaveformWindowView final : public QWidget {
public:
    WaveformWindowView(AppSession& session, CaptureControl& control, const NightfallTheme& theme,
                       const Actions& actions, QWidget* parent = nullptr);

    /// Saves all that is kept as one clip, unless there is too little or a clip is being saved already.
    void saveAll();
    /// Why the last clip could not be saved; none after one that was.
    [[nodiscard]] const std::optional<std::string>& exportErrorMessage() const { return exportErrorMessage_; }
    [[nodiscard]] bool isRefreshing() const { return refresh_->isActive(); }

protected:
    void hideEvent(QHideEvent* event) override;

private:
    [[nodiscard]] QWidget* makeHeader();
    void observe();
    void showStatus(const CaptureStatus& status);
    void showNotice();
    void showLevelMeter();
    void updateSaveButton();
    void onSaved(const Result<std::filesystem::path>& outcome);

    AppSession& session_;
    CaptureControl& control_;
    const NightfallTheme& theme_;
    const Actions& actions_;
    CaptureStatus status_;
    bool isSaving_ = false;
    bool saveHadFocus_ = false;                  // when it was pressed: a disabled button cannot keep the keyboard
    std::optional<std::filesystem::path> saved_; // the clip that the notice is about
    std::optional<std::string> exportErrorMessage_;

    StatusDot* dot_;
    NightfallLabel* state_;
    NightfallLabel* notice_;
    NightfallButton* reveal_;
    NightfallButton* save_;
    NightfallButton* settings_;
    NightfallBanner* banner_;
    RetainedAudioView* retained_;
    LevelStrip* strip_;
    StatusRefresh* refresh_;
    std::vector<Observation> observations_;
};

} // namespace rewindle
