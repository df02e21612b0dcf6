#include "ui/components/NightfallSurface.h"

namespace rewindle {

void fillWithSurface(QWidget& widget, const NightfallTheme& theme, QColor NightfallPalette::*color) {
    const auto apply = [&widget, &theme, color] {
        QPalette colors = widget.palette();
        colors.setColor(QPalette::Window, theme.palette().*color);
        widget.setPalette(colors);
    };
    widget.setAutoFillBackground(true);
    apply();
    QObject::connect(&theme, &NightfallTheme::changed, &widget, apply);
}

} // namespace rewindle
