#include "ProcessUsage.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <thread>

namespace rewindle::bench {
namespace {

std::filesystem::path folderOf(pid_t pid) {
    return "/proc/" + std::to_string(pid);
}

double numberAfter(std::istream& file, const std::string& key) {
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(key, 0) == 0) return std::stod(line.substr(key.size() + 1));
    }
    return 0;
}

/// So far.
Usage usageOf(pid_t pid) {
    Usage sum;
    for (const auto& task : std::filesystem::directory_iterator(folderOf(pid) / "task")) {
        double nanoseconds = 0;
        std::ifstream(task.path() / "schedstat") >> nanoseconds;
        sum.cpuSeconds += nanoseconds / 1e9;
        std::ifstream status(task.path() / "status");
        sum.switches += numberAfter(status, "voluntary_ctxt_switches:");
        sum.switches += numberAfter(status, "nonvoluntary_ctxt_switches:");
    }
    return sum;
}

/// True when there is no fault.
bool print(const std::string& name, double value, const std::string& unit, const char* bound, double required,
           const std::string& fault) {
    std::printf("%-52s %8.2f %-37s (%s %.2f) %s\n", name.c_str(), value, unit.c_str(), bound, required,
                fault.c_str());
    std::fflush(stdout);
    return fault.empty();
}

} // namespace

std::vector<std::vector<Usage>> watch(const std::vector<pid_t>& pids, double seconds,
                                      const std::function<void()>& afterEach) {
    std::vector<std::vector<Usage>> rows;
    const auto read = [&] {
        std::vector<Usage> now;
        now.reserve(pids.size());
        for (const pid_t pid : pids)
            now.push_back(usageOf(pid));
        return now;
    };
    auto before = read();
    for (int window = 0; window < kWindows; ++window) {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds / kWindows));
        auto now = read();
        if (afterEach) afterEach();
        auto& row = rows.emplace_back();
        for (std::size_t i = 0; i < pids.size(); ++i)
            row.push_back(now[i] - before[i]);
        before = std::move(now);
    }
    return rows;
}

double megabytesBeyondRing(pid_t pid, double retainedSeconds) {
    std::ifstream status(folderOf(pid) / "status");
    return numberAfter(status, "VmRSS:") / 1024 - retainedSeconds * 48'000 * 8 / 1048576;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

bool report(const std::string& name, double value, const std::string& unit, double required) {
    return print(name, value, unit, "at most", required, value <= required ? "" : "TOO MUCH");
}

bool reportAtLeast(const std::string& name, double value, const std::string& unit, double required) {
    return print(name, value, unit, "at least", required, value >= required ? "" : "TOO LITTLE");
}

int measureAsTold(int argc, char** argv, const std::function<bool(double seconds)>& measure) {
    try {
        return measure(argc > 1 ? std::stod(argv[1]) : 60) ? 0 : 1;
    } catch (const std::exception& problem) {
        std::fprintf(stderr, "%s: %s\n", argv[0], problem.what());
        return 1;
    }
}

} // namespace rewindle::bench
