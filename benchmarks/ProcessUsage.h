#pragma once

#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace rewindle::bench {

/// What a process has taken of the machine, all its threads together.
struct Usage {
    double cpuSeconds = 0;
    double switches = 0; // from one thread to another
    Usage operator+(const Usage& other) const { return {cpuSeconds + other.cpuSeconds, switches + other.switches}; }
    Usage operator-(const Usage& other) const { return {cpuSeconds - other.cpuSeconds, switches - other.switches}; }
};

/// Over how many windows of time `watch` looks.
constexpr int kWindows = 12;
/// Usage of several processes over the same windows of time, `seconds` together; one row per window. `afterEach` is
/// called at the end of each window.
std::vector<std::vector<Usage>> watch(const std::vector<pid_t>& pids, double seconds,
                                      const std::function<void()>& afterEach = {});

/// Resident, in MB, without the `retainedSeconds` of audio that the ring buffer holds.
double megabytesBeyondRing(pid_t pid, double retainedSeconds);

/// The upper one of the two in the middle. Requires: at least one value.
double median(std::vector<double> values);

/// Prints a figure beside the most that it may be, and returns whether it is no more than that.
bool report(const std::string& name, double value, const std::string& unit, double required);
/// The same for a figure that must be no less.
bool reportAtLeast(const std::string& name, double value, const std::string& unit, double required);

/// What `main` of a load returns: measures for as many seconds as its first argument says, 60 without one. `measure`
/// returns whether all figures are good; what it throws is told on standard error.
int measureAsTold(int argc, char** argv, const std::function<bool(double seconds)>& measure);

} // namespace rewindle::bench
