#pragma once

#include "base/Clock.h"

namespace rewindle::test {

/// Time that moves only when a test moves it. Starts at an uptime of 1000 s, on 2024-11-10 14:40:00.123 UTC.
class ManualClock final : public Clock {
public:
    [[nodiscard]] std::chrono::nanoseconds uptime() const override { return uptime_; }
    [[nodiscard]] std::chrono::milliseconds wallTime() const override { return wall_; }

    void advance(std::chrono::nanoseconds by) {
        uptime_ += by;
        wall_ += std::chrono::duration_cast<std::chrono::milliseconds>(by);
    }
    void setUptime(std::chrono::nanoseconds uptime) { uptime_ = uptime; }

private:
    std::chrono::nanoseconds uptime_ = std::chrono::seconds(1000);
    std::chrono::milliseconds wall_{1'731'249'600'123};
};

} // namespace rewindle::test
