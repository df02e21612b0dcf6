#pragma once

#include "ui/components/NightfallTheme.h"

#include <QWidget>

namespace rewindle {

/// Fills a widget, behind its children, with a colour of the palette, now and after each change of the look.
///
/// Requires: `theme` outlives the widget.
void fillWithSurface(QWidget& widget, const NightfallTheme& theme, QColor NightfallPalette::*color);

} // namespace rewindle
