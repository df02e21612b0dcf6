#pragma once

#include "ui/components/NightfallTheme.h"

#include <QWidget>

#include <array>

namespace rewindle {

/// Two bars along the bottom of the window, each with its figure: the level of both channels.
///
/// Lifecycle: `theme` outlives it.
class LevelStrip final : public QWidget {
public:
    static constexpr int kHeight = 38;
    explicit LevelStrip(const NightfallTheme& theme, QWidget* parent = nullptr);
    void setLevels(const std::array<float, 2>& displayDB);
    [[nodiscard]] QSize sizeHint() const override { return {320, kHeight}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    struct Reading {
        int filledPixels = 0;
        QString text;
        friend bool operator==(const Reading&, const Reading&) = default;
    };
    [[nodiscard]] QRectF bar(std::size_t channel) const;
    [[nodiscard]] Reading reading(std::size_t channel) const;
    void paintChannel(QPainter& painter, std::size_t channel) const;

    const NightfallTheme& theme_;
    std::array<float, 2> displayDB_;
    std::array<Reading, 2> shown_;
};

} // namespace rewindle
