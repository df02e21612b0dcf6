#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace rewindle {

/// Fires again and again from when it was made until it is destroyed.
///
/// Threads:   interface thread.
/// Lifecycle: may be destroyed from within its own call.
class RepeatingTimer {
public:
    virtual ~RepeatingTimer() = default;
};

/// Makes timers of the interface thread.
class RepeatingTimers {
public:
    virtual ~RepeatingTimers() = default;
    /// Fires on the grid of `interval`; fires that were missed while the thread was busy become one.
    [[nodiscard]] virtual std::unique_ptr<RepeatingTimer> make(std::chrono::nanoseconds interval,
                                                               std::function<void()> onFire) = 0;
};

} // namespace rewindle
