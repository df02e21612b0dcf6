#pragma once

#include "ui/LevelFigures.h"

namespace rewindle {

/// How much audio is kept, as a figure and as a stretch of time that fills from now backwards.
///
/// Lifecycle: `theme` outlives it.
class RetainedAudioView final : public QWidget {
public:
    explicit RetainedAudioView(const NightfallTheme& theme, QWidget* parent = nullptr);

    void setRetained(double seconds, int capacitySeconds);
    void setLevels(const std::array<float, 2>& displayDb) { levels_->setLevels(displayDb); }
    /// The figures are left out where something else shows them.
    void setLevelsVisible(bool visible) { levels_->setVisible(visible); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    struct Shown {
        QString time, capacity;
        int filledPixels = 0;
        friend bool operator==(const Shown&, const Shown&) = default;
    };
    struct Places {
        QRectF panel, figure, track, captions;
        bool hasCaptions = true;
    };
    [[nodiscard]] Places places() const;
    [[nodiscard]] Shown shown() const;
    void paintFigure(QPainter& painter, const QRectF& place) const;
    void paintTrack(QPainter& painter, const QRectF& track) const;
    void paintCaptions(QPainter& painter, const QRectF& place) const;

    const NightfallTheme& theme_;
    LevelFigures* levels_;
    double seconds_ = 0;
    int capacitySeconds_ = 0;
    Shown shown_;
};

} // namespace rewindle
