#pragma once

#include "ui/components/NightfallLabel.h"

namespace rewindle {

/// One setting: what it is, a line about it, and the control that changes it, which it names for screen readers.
///
/// Lifecycle: `theme` outlives it; it owns the control.
class NightfallSettingsRow final : public QWidget {
public:
    enum class Control { beside, below };
    NightfallSettingsRow(const NightfallTheme& theme, const QString& title, QWidget* control, Control place);

    /// An empty one takes no room.
    void setDescription(const QString& description, NightfallTextColor color = &NightfallPalette::textSecondary);
    /// A description that stays on one line, losing its middle.
    void setElidedDescription(const QString& description);

private:
    QWidget* control_;
    NightfallLabel* description_;
};

} // namespace rewindle
