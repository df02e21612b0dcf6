#pragma once

#include "ui/components/NightfallSettingsRow.h"

class QVBoxLayout;

namespace rewindle {

/// Rows that belong together, on a card below their title.
///
/// Lifecycle: `theme` outlives it.
class NightfallSettingsSection final : public QWidget {
public:
    NightfallSettingsSection(const NightfallTheme& theme, const QString& title, QWidget* parent = nullptr);
    void addRow(NightfallSettingsRow* row);

private:
    QVBoxLayout* rows_;
};

} // namespace rewindle
