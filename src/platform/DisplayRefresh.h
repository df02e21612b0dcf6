#pragma once

#include <functional>
#include <memory>

namespace rewindle {

/// Calls at every refresh of the active displays until it is destroyed, on a thread of its own.
class DisplayRefresh {
public:
    virtual ~DisplayRefresh() = default;
};

/// Starts a `DisplayRefresh`; null where the displays do not tell.
using DisplayRefreshFactory = std::function<std::unique_ptr<DisplayRefresh>(std::function<void()> onRefresh)>;

} // namespace rewindle
