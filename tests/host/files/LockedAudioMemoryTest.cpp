#include "host/files/LockedAudioMemory.h"

#include "fakes/CapturingLogSink.h"
#include "host/HostFiles.h"
#include "host/files/TemporaryFolder.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/mman.h>
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

/// What the kernel says of the mapping that begins at `address`: two letters for each property.
std::string propertiesOf(const void* address) {
    std::ostringstream start;
    start << std::hex << reinterpret_cast<std::uintptr_t>(address) << '-';
    std::ifstream maps("/proc/self/smaps");
    std::string line;
    while (std::getline(maps, line) && !line.starts_with(start.str())) {
    }
    while (std::getline(maps, line) && !line.starts_with("VmFlags:")) {
    }
    return line + " ";
}

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
    const TemporaryFolder folder;
    const OrdinaryUser user(folder.path); // root's right knows no limit
    const ResourceLimit limit(RLIMIT_MEMLOCK, 0);
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
