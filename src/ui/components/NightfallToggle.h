#pragma once

#include "ui/components/KeyboardFocus.h"
#include "ui/components/NightfallTheme.h"

#include <QCheckBox>
#include <QVariantAnimation>

namespace rewindle {

/// A switch without a text of its own: its row names it. Space and Enter turn it.
///
/// Lifecycle: `theme` outlives it.
class NightfallToggle final : public QCheckBox {
public:
    explicit NightfallToggle(const NightfallTheme& theme, QWidget* parent = nullptr);
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    [[nodiscard]] bool hitButton(const QPoint& position) const override { return rect().contains(position); }

private:
    void moveKnob(bool on);

    const NightfallTheme& theme_;
    KeyboardFocus focus_;
    QVariantAnimation knob_; // 0 off ... 1 on
};

} // namespace rewindle
