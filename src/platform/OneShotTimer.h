#pragma once

#include <chrono>

namespace rewindle {

/// Calls once, on the queue that it was made for, when the time set has passed; whom it calls is settled where it is
/// made.
///
/// Threads: its queue only.
class OneShotTimer {
public:
    virtual ~OneShotTimer() = default;
    /// Replaces the time that was set before, if that has not come yet.
    virtual void set(std::chrono::nanoseconds delay) = 0;
};

} // namespace rewindle
