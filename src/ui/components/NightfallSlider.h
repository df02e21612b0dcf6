#pragma once

#include "ui/components/KeyboardFocus.h"
#include "ui/components/NightfallTheme.h"

#include <QSlider>

namespace rewindle {

/// Chooses a gain in dB, and shows it. It catches at 0; a double click or the Delete key goes back there; arrows
/// move it by 0.5 dB, Page Up and Down by 3 dB, Home and End to the bounds.
///
/// Units:     dB outside; tenths of a dB as the slider's own value.
/// Lifecycle: `theme` outlives it.
class NightfallSlider final : public QSlider {
    Q_OBJECT
public:
    /// From -limitDB to +limitDB.
    NightfallSlider(const NightfallTheme& theme, float limitDB, QWidget* parent = nullptr);

    /// Shows a gain that was set elsewhere; `gainChosen` is not sent.
    void setGainDB(float gainDB);
    [[nodiscard]] float gainDB() const { return static_cast<float>(value()) / 10.0F; }
    /// "+2.5 dB", as it is shown.
    [[nodiscard]] QString valueText() const;

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

Q_SIGNALS:
    /// The user has chosen another gain.
    void gainChosen(float gainDB);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;

private:
    [[nodiscard]] QRectF track() const;
    [[nodiscard]] qreal positionOf(int tenths) const;
    [[nodiscard]] int valueAt(qreal x) const;

    const NightfallTheme& theme_;
    KeyboardFocus focus_;
};

/// "+2.5 dB", "−3.0 dB", "0 dB".
[[nodiscard]] QString gainText(float gainDB);

} // namespace rewindle
