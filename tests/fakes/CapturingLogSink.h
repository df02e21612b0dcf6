#pragma once

#include "base/Log.h"

#include <algorithm>
#include <mutex>
#include <vector>

namespace rewindle::test {

/// Keeps every message, of every level, for the test to look at.
class CapturingLogSink final : public LogSink {
public:
    [[nodiscard]] bool isEnabled(LogLevel) const override { return true; }
    void write(LogLevel, std::string_view category, std::string_view message) override {
        const std::lock_guard hold(mutex_);
        lines_.push_back(std::string(category) + ": " + std::string(message));
    }

    [[nodiscard]] std::vector<std::string> lines() const {
        const std::lock_guard hold(mutex_);
        return lines_;
    }
    [[nodiscard]] int count(std::string_view part) const {
        const auto all = lines();
        return static_cast<int>(
            std::ranges::count_if(all, [&](const std::string& line) { return line.find(part) != line.npos; }));
    }

private:
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

} // namespace rewindle::test
