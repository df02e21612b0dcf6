// Runs the tests; once more if some failed and the computer had stood still meanwhile.
//
// The clients here are stock ones, and a virtual machine may stop for longer than a cycle of sound: then a player is
// late, the sound server plays silence in its place, and no recording is the sound that was to be played. Whether that
// happened is asked of the computer, never of the program under test: a thread on each CPU, with a priority above
// everything that handles sound, that is woken far too late. Tests that fail without that have failed, and so have
// those that fail twice or crash. CTest runs each in a process of its own.

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace rewindle::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kPeriod{5};
/// A cycle of 2048 frames at 48 kHz, the longest here, less what its work takes.
constexpr milliseconds kStandstill{40};
constexpr int kPriority = 89; // sound servers and their clients have 88

/// The longest that any CPU stood still, from the construction to `end`. Zero where nobody may have the priority
/// that it takes to tell.
class StandstillWatch {
public:
    StandstillWatch() {
        for (unsigned cpu = 0; cpu < std::thread::hardware_concurrency(); ++cpu)
            threads_.emplace_back([this, cpu](const std::stop_token& stop) { watch(stop, cpu); });
    }
    milliseconds end() {
        threads_.clear();
        return longest_;
    }

private:
    void watch(const std::stop_token& stop, unsigned cpu) {
        cpu_set_t here;
        CPU_ZERO(&here);
        CPU_SET(cpu, &here);
        const sched_param priority{.sched_priority = kPriority};
        if (sched_setaffinity(0, sizeof here, &here) != 0 || sched_setscheduler(0, SCHED_FIFO, &priority) != 0)
            return;
        for (auto last = Clock::now(); !stop.stop_requested();) {
            std::this_thread::sleep_for(kPeriod);
            const auto now = Clock::now();
            auto longest = longest_.load();
            const auto late = std::chrono::duration_cast<milliseconds>(now - last) - kPeriod;
            while (late > longest && !longest_.compare_exchange_weak(longest, late)) {
            }
            last = now;
        }
    }

    std::atomic<milliseconds> longest_{};
    std::vector<std::jthread> threads_;
};

int runTestsFor(pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGTERM);
    return getppid() == parent ? RUN_ALL_TESTS() : EXIT_FAILURE;
}

/// None when it did not end by itself.
std::optional<int> exitCodeOf(pid_t child) {
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child || !WIFEXITED(status)) return std::nullopt;
    return WEXITSTATUS(status);
}

int run() {
    if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
    for (bool isFirst = true;; isFirst = false) {
        const auto parent = getpid();
        const auto tests = fork(); // a process of their own, so that they can be run again
        if (tests == 0) return runTestsFor(parent);
        StandstillWatch watch;
        const auto exitCode = exitCodeOf(tests);
        const auto stood = watch.end();
        if (exitCode == 0) return EXIT_SUCCESS;
        if (!exitCode || !isFirst || stood < kStandstill) return EXIT_FAILURE;
        std::cout << "The computer stood still for " << stood.count() << " ms; once more: " << GTEST_FLAG_GET(filter)
                  << std::endl;
    }
}

} // namespace
} // namespace rewindle::test

int main(int argc, char** argv) {
    testing::InitGoogleMock(&argc, argv);
    return rewindle::test::run();
}
