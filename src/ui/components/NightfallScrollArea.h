#pragma once

#include "ui/components/NightfallTheme.h"

#include <QScrollArea>

namespace rewindle {

/// Scrolls a page up and down, with a slim bar that shows only when there is something to scroll. What gets the
/// keyboard is scrolled into sight.
///
/// Lifecycle: `theme` outlives it.
class NightfallScrollArea final : public QScrollArea {
public:
    explicit NightfallScrollArea(const NightfallTheme& theme, QWidget* parent = nullptr);
};

} // namespace rewindle
