#pragma once

#include "ui/components/NightfallLabel.h"

namespace rewindle {

/// Says across the window that something is wrong; hidden while nothing is.
///
/// Lifecycle: `theme` outlives it.
class NightfallBanner final : public QWidget {
public:
    explicit NightfallBanner(const NightfallTheme& theme, QWidget* parent = nullptr);
    /// An empty message hides the banner.
    void setMessage(const QString& message);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const NightfallTheme& theme_;
    NightfallLabel* label_;
};

} // namespace rewindle
