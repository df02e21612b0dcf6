#pragma once

#include "base/DueWork.h"
#include "base/SerialQueue.h"
#include "fakes/ManualClock.h"

#include <optional>

namespace rewindle::test {

/// A queue whose work runs when the test says so, on the test's thread, in the order of the real queues.
class ManualSerialQueue final : public SerialQueue {
public:
    ManualSerialQueue(std::string label, ManualClock& clock) : label_(std::move(label)), clock_(clock), due_(clock) {}

    [[nodiscard]] const std::string& label() const override { return label_; }
    void async(Work work) override { due_.add(std::move(work)); }
    DelayedWork asyncAfter(std::chrono::nanoseconds delay, Work work) override {
        return due_.addAfter(delay, std::move(work));
    }
    /// Runs what comes before `work`, as the thread of a real queue would, then `work`.
    void sync(const Work& work) override {
        if (isCurrent()) return work();
        bool done = false;
        due_.add([&] {
            work();
            done = true;
        });
        while (!done)
            runNext();
    }
    [[nodiscard]] bool isCurrent() const override { return depth_ > 0; }

    /// Runs everything that is due now, also what that adds; returns how much ran.
    int runDue() {
        int ran = 0;
        while (runNext())
            ++ran;
        return ran;
    }
    /// Time of the next work that is not cancelled; none when nothing waits.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> nextDue() const {
        const auto left = due_.untilNext();
        return left ? std::optional(clock_.uptime() + *left) : std::nullopt;
    }

private:
    bool runNext() {
        ++depth_;
        const bool ran = due_.runNext();
        --depth_;
        return ran;
    }

    std::string label_;
    ManualClock& clock_;
    int depth_ = 0;
    DueWork due_; // last: what it drops may still post
};

} // namespace rewindle::test
