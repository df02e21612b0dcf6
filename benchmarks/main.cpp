#include "Bench.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <string_view>

namespace rewindle::bench {
namespace {

std::vector<Group>& registered() {
    static std::vector<Group> all;
    return all;
}

double secondsFor(const std::function<void()>& work, int repeats) {
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < repeats; ++i)
        work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// So many repeats that one measurement takes about 20 ms: long against the timer, short against the machine's moods.
int repeatsFor(const std::function<void()>& work) {
    // The best of three: whoever else takes the processor once must not make a short piece of work look long.
    const auto best = [&](int repeats) {
        return std::min({secondsFor(work, repeats), secondsFor(work, repeats), secondsFor(work, repeats)});
    };
    int repeats = 1;
    while (repeats < 1 << 20 && best(repeats) < 0.02)
        repeats *= 2;
    return repeats;
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::ranges::nth_element(values, middle);
    return *middle;
}

/// Measures subject and yardstick in turn and returns whether the median ratio is good enough.
bool measure(const Row& row, int rounds) {
    const int subjectRepeats = repeatsFor(row.subject);
    const int yardstickRepeats = repeatsFor(row.yardstick);
    std::vector<double> ratios;
    std::vector<double> subjectTimes;
    for (int round = 0; round < rounds; ++round) {
        const double subject = secondsFor(row.subject, subjectRepeats) / subjectRepeats;
        const double yardstick = secondsFor(row.yardstick, yardstickRepeats) / yardstickRepeats;
        ratios.push_back(subject / yardstick);
        subjectTimes.push_back(subject);
    }
    const double ratio = median(ratios);
    std::printf("%-52s %8.3f ms  %6.2f x %-34s (at most %.2f) %s\n", row.name.c_str(), median(subjectTimes) * 1e3,
                ratio, row.yardstickName.c_str(), row.required, ratio <= row.required ? "" : "TOO SLOW");
    std::fflush(stdout);
    return ratio <= row.required;
}

} // namespace

Registration::Registration(Group group) {
    registered().push_back(std::move(group));
}
const std::vector<Group>& groups() {
    return registered();
}
void keep(const void* result) {
    __asm__ volatile("" : : "g"(result) : "memory");
}

} // namespace rewindle::bench

/// core_bench [GROUP]: prints each figure as the median ratio of 11 interleaved rounds; exits 1 when one is too slow.
int main(int argc, char** argv) {
    using namespace rewindle::bench;
    constexpr int kRounds = 11;
    bool good = true;
    for (const Group& group : groups()) {
        if (argc > 1 && group.name != std::string_view(argv[1])) continue;
        for (const Row& row : group.rows())
            good = measure(row, kRounds) && good;
    }
    return good ? 0 : 1;
}
