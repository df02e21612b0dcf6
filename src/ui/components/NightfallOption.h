#pragma once

#include "ui/components/KeyboardFocus.h"
#include "ui/components/NightfallTheme.h"

#include <QRadioButton>

namespace rewindle {

/// One of several options of which exactly one holds; draws itself in a subclass. Tab reaches the one that holds,
/// arrows move on to the next and choose it.
///
/// Lifecycle: `theme` outlives it.
class NightfallOption : public QRadioButton {
public:
    NightfallOption(const NightfallTheme& theme, const QString& name, QWidget* parent);
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    [[nodiscard]] bool hitButton(const QPoint& position) const override { return rect().contains(position); }
    [[nodiscard]] bool showsFocus() const { return focus_.isVisible(); }
    [[nodiscard]] const NightfallTheme& theme() const { return theme_; }

private:
    const NightfallTheme& theme_;
    KeyboardFocus focus_;
};

} // namespace rewindle
