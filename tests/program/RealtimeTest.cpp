// The audio thread neither waits nor allocates, in a real cycle with all that it calls.

#include "program/LiveWaveform.h"

#include <gtest/gtest.h>

#include <csignal>
#include <sstream>
#include <string>
#include <sys/syscall.h>
#include <vector>

namespace rewindle::test {
namespace {

class Realtime : public LiveWaveform {
protected:
    struct Trapped {
        std::vector<std::string> caught;
        int cycles = 0, wakeUps = 0;
    };
    static constexpr auto kTrap = "LD_PRELOAD=" REWINDLE_REALTIME_TRAP;

    /// What the trap in the program says once a sound has been recorded whole.
    Trapped record() {
        const auto sound = noise(2, seed_++);
        play(session, padded(sound));
        EXPECT_TRUE(find(sound, rewindle->lastSeconds(10)));
        rewindle->process().signal(SIGTERM);
        EXPECT_EQ(rewindle->process().wait(), 0);
        const std::string prefix = "realtime trap: ";
        Trapped result;
        std::istringstream log(rewindle->log());
        for (std::string line; std::getline(log, line);) {
            if (!line.starts_with(prefix)) continue;
            line.erase(0, prefix.size());
            if (std::sscanf(line.c_str(), "%d cycles, %d wake-ups", &result.cycles, &result.wakeUps) == 2) continue;
            result.caught.push_back(line);
        }
        return result;
    }

    /// What the trap does itself before the first cycle, to show that it trips.
    const std::vector<std::string> onPurpose{"malloc", "free", "pthread_mutex_lock",
                                             "system call " + std::to_string(SYS_sched_yield)};

private:
    unsigned seed_ = 60;
};

TEST_F(Realtime, ACycleNeitherAllocatesNorLocksNorAsksTheKernelForMoreThanAWakeUp) {
    {
        SCOPED_TRACE("nobody looks");
        run({.arguments = "--headless", .variables = kTrap});
        const auto trapped = record();
        EXPECT_EQ(trapped.caught, onPurpose);
        EXPECT_GT(trapped.cycles, 0);
        EXPECT_EQ(trapped.wakeUps, 0);
    }
    {
        SCOPED_TRACE("the window is looked at");
        start(kTrap);
        const auto trapped = record();
        EXPECT_EQ(trapped.caught, onPurpose);
        EXPECT_GT(trapped.cycles, 0);
        EXPECT_GT(trapped.wakeUps, 0);
    }
}

} // namespace
} // namespace rewindle::test
