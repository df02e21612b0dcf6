#pragma once

#include <chrono>

namespace rewindle {

/// The two times that the core asks for. Any thread.
class Clock {
public:
    virtual ~Clock() = default;
    /// Time since some fixed point in the past; never goes back. All rules of time use this one.
    [[nodiscard]] virtual std::chrono::nanoseconds uptime() const = 0;
    /// Time since 1970-01-01 UTC, as the user's clock shows it; only for names and dates.
    [[nodiscard]] virtual std::chrono::milliseconds wallTime() const = 0;

    [[nodiscard]] double uptimeSeconds() const { return std::chrono::duration<double>(uptime()).count(); }
};

/// The computer's own clocks. `uptime` is CLOCK_MONOTONIC on Linux, the clock that stamps audio cycles too.
class SystemClock final : public Clock {
public:
    [[nodiscard]] std::chrono::nanoseconds uptime() const override {
        return std::chrono::steady_clock::now().time_since_epoch();
    }
    [[nodiscard]] std::chrono::milliseconds wallTime() const override {
        return std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch());
    }
};

} // namespace rewindle
