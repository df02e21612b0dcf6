#include "host/files/LockedAudioMemory.h"

#include "fakes/CapturingLogSink.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

namespace rewindle::test {
namespace {

constexpr std::size_t kTenMinutes = std::size_t{600} * 48'000 * 2 * sizeof(float);

std::size_t residentPages(void* block, std::size_t bytes) {
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    std::vector<unsigned char> resident((bytes + page - 1) / page);
    EXPECT_EQ(::mincore(block, bytes, resident.data()), 0);
    return static_cast<std::size_t>(std::ranges::count_if(resident, [](unsigned char flags) { return flags & 1; }));
}

/// What the kernel says of the mapping that holds `address`: two letters for each property.
std::string propertiesOf(const void* address) {
    std::ifstream maps("/proc/self/smaps");
    const auto wanted = reinterpret_cast<std::uintptr_t>(address);
    bool inside = false;
    for (std::string line; std::getline(maps, line);) {
        std::istringstream fields(line);
        std::uintptr_t begin = 0;
        std::uintptr_t end = 0;
        char dash = 0;
        if (fields >> std::hex >> begin >> dash >> end && dash == '-') inside = begin <= wanted && wanted < end;
        if (inside && line.starts_with("VmFlags:")) return line + " ";
    }
    return {};
}

/// Takes the right to lock memory away for a while, as far as the process may do that to itself.
class NoLocking {
public:
    NoLocking() {
        ::getrlimit(RLIMIT_MEMLOCK, &before_);
        rlimit none = before_;
        none.rlim_cur = 0;
        ::setrlimit(RLIMIT_MEMLOCK, &none);
        wasRoot_ = ::geteuid() == 0 && ::seteuid(65'534) == 0; // root's right knows no limit
    }
    NoLocking(const NoLocking&) = delete;
    ~NoLocking() {
        if (wasRoot_ && ::seteuid(0) != 0) std::abort();
        ::setrlimit(RLIMIT_MEMLOCK, &before_);
    }

private:
    rlimit before_{};
    bool wasRoot_ = false;
};

TEST(LockedAudioMemoryTest, TakesNoMemoryBeforeItIsWrittenAndThenAPageAtATime) {
    CapturingLogSink log;
    LockedAudioMemory memory(log);
    const auto block = memory.allocate(kTenMinutes);
    auto* samples = static_cast<float*>(block.get());
    EXPECT_EQ(residentPages(samples, kTenMinutes), 0U);
    for (std::size_t i = 0; i < 10; ++i)
        samples[i * (kTenMinutes / sizeof(float) / 10)] = 1.0F;
    EXPECT_EQ(residentPages(samples, kTenMinutes), 10U);
    EXPECT_EQ(samples[1], 0.0F);
    EXPECT_EQ(samples[kTenMinutes / sizeof(float) - 1], 0.0F);
}

TEST(LockedAudioMemoryTest, IsLeftOutOfCoreDumpsAndLockedWhereTheLimitsAllow) {
    CapturingLogSink log;
    LockedAudioMemory memory(log);
    const auto block = memory.allocate(std::size_t{16} * 1024);
    const std::string properties = propertiesOf(block.get());
    EXPECT_NE(properties.find(" dd "), std::string::npos) << properties;
    if (log.lines().empty()) {
        EXPECT_NE(properties.find(" lo "), std::string::npos) << properties;
    } else {
        GTEST_LOG_(INFO) << "not locked here: " << log.lines().front();
    }
}

TEST(LockedAudioMemoryTest, SaysOnceWhenTheLimitsForbidLockingAndWorksAllTheSame) {
    const NoLocking limits;
    const char byte = 0;
    if (::mlock(&byte, 1) == 0) GTEST_SKIP() << "this process cannot give up its right to lock memory";
    CapturingLogSink log;
    LockedAudioMemory memory(log);
    for (int i = 0; i < 3; ++i) {
        const auto block = memory.allocate(kTenMinutes);
        *static_cast<float*>(block.get()) = 1.0F;
    }
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.count("AudioMemory: retained audio may be swapped to disk"), 1);
}

} // namespace
} // namespace rewindle::test
