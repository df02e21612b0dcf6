#pragma once

#include "app/AudioCapturePermissionModel.h"
#include "ui/components/NightfallButton.h"
#include "ui/components/NightfallLabel.h"

#include <vector>

namespace rewindle {

/// Asks for the user's consent to listen, or says how to give it.
///
/// Lifecycle: `permission` and `theme` outlive it.
class PermissionView final : public QWidget {
public:
    PermissionView(AudioCapturePermissionModel& permission, const NightfallTheme& theme, QWidget* parent = nullptr);

private:
    void showState();

    AudioCapturePermissionModel& permission_;
    NightfallLabel* title_;
    NightfallLabel* text_;
    NightfallButton* allow_;
    NightfallButton* openSettings_;
    NightfallButton* recheck_;
    std::vector<Observation> observations_;
};

} // namespace rewindle
