#pragma once

#include "platform/DisplayRefresh.h"

namespace rewindle {

/// Follows the refreshes of the screens on X11, as a `DisplayRefreshFactory`. Null elsewhere, and where the X server
/// does not tell.
[[nodiscard]] std::unique_ptr<DisplayRefresh> followX11DisplayRefresh(std::function<void()> onRefresh);

} // namespace rewindle
