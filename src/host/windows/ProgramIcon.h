#pragma once

#include <QIcon>

namespace rewindle {

/// The program's icon, for its windows. Painted: to look it up in the desktop's theme would hold up the first frame,
/// and desktops that have a theme take the icon of the desktop entry.
[[nodiscard]] QIcon programIcon();
/// The small one for status bars, of one colour. Tells a bar its name in the theme when it is installed, so that the
/// bar can draw it in its own colour; everybody else gets a grey that can be seen on dark and on light.
[[nodiscard]] QIcon statusIcon();

} // namespace rewindle
