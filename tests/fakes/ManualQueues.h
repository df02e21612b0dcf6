#pragma once

#include "fakes/ManualSerialQueue.h"

#include <array>

namespace rewindle::test {

/// The three queues of capture under one clock. Nothing runs but in `settle` and `runFor`.
struct ManualQueues {
    ManualClock clock;
    ManualSerialQueue capture{"com.rewindle.audio", clock};
    ManualSerialQueue control{"com.rewindle.audio.control", clock};
    ManualSerialQueue main{"main", clock};

    /// Runs what is due now, and what that adds, until nothing is.
    void settle() {
        while (capture.runDue() + control.runDue() + main.runDue() > 0) {
        }
    }
    /// Lets time pass, from one piece of delayed work to the next.
    void runFor(std::chrono::nanoseconds duration) {
        const auto end = clock.uptime() + duration;
        settle();
        for (auto next = nextDue(); next && *next <= end; next = nextDue()) {
            clock.setUptime(*next);
            settle();
        }
        clock.setUptime(end);
    }
    /// Time of the next delayed work on any queue; none when nothing waits.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> nextDue() const {
        std::optional<std::chrono::nanoseconds> next;
        for (const auto* queue : std::array{&capture, &control, &main}) {
            const auto due = queue->nextDue();
            if (due && (!next || *due < *next)) next = due;
        }
        return next;
    }
};

} // namespace rewindle::test
