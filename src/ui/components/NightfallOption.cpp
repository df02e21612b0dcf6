#include "ui/components/NightfallOption.h"

namespace rewindle {

NightfallOption::NightfallOption(const NightfallTheme& theme, const QString& name, QWidget* parent)
    : QRadioButton(parent), theme_(theme), focus_(*this) {
    setAccessibleName(name);
    // Tab reaches the option that holds; without this it would reach the first until one has had the keyboard.
    setFocusPolicy(Qt::ClickFocus);
    connect(this, &QRadioButton::toggled, this,
            [this](bool on) { setFocusPolicy(on ? Qt::StrongFocus : Qt::ClickFocus); });
    setAttribute(Qt::WA_Hover);
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

} // namespace rewindle
