#pragma once

#include "ui/components/NightfallTheme.h"
#include "ui/status/SessionTexts.h"

#include <QWidget>

namespace rewindle {

/// Shows at a glance how capture is doing; the text beside it says the same.
///
/// Lifecycle: `theme` outlives it.
class StatusDot final : public QWidget {
public:
    explicit StatusDot(const NightfallTheme& theme, QWidget* parent = nullptr);
    void setState(ListeningState state);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const NightfallTheme& theme_;
    ListeningState state_ = ListeningState::stopped;
};

} // namespace rewindle
