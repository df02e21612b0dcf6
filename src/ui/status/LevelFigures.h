#pragma once

#include "ui/components/NightfallTheme.h"

#include <QWidget>

#include <array>

namespace rewindle {

/// Both channels' level as figures, "L −12.3  R −11.8 dB".
///
/// Lifecycle: `theme` outlives it.
class LevelFigures final : public QWidget {
public:
    explicit LevelFigures(const NightfallTheme& theme, QWidget* parent = nullptr);
    void setLevels(const std::array<float, 2>& displayDB);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] QRect figureRect(std::size_t channel) const;

    const NightfallTheme& theme_;
    const int letterWidth_, figureWidth_; // of "L " and of the widest figure
    std::array<QString, 2> texts_;
};

} // namespace rewindle
