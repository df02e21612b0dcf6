#include "ui/NightfallOption.h"

namespace rewindle {

NightfallOption::NightfallOption(const NightfallTheme& theme, const QString& name, QWidget* parent)
    : QRadioButton(parent), theme_(theme), focus_(*this) {
    setAccessibleName(name);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

} // namespace rewindle
