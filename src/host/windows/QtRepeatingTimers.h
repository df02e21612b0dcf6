#pragma once

#include "platform/RepeatingTimer.h"

namespace rewindle {

/// Timers in Qt's event loop, on the kernel's.
class QtRepeatingTimers final : public RepeatingTimers {
public:
    [[nodiscard]] std::unique_ptr<RepeatingTimer> make(std::chrono::nanoseconds interval,
                                                       std::function<void()> onFire) override;
};

} // namespace rewindle
