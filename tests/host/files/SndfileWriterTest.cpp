#include "host/files/SndfileWriter.h"

#include "base/SystemError.h"
#include "host/HostFiles.h"
#include "host/files/TemporaryFolder.h"

#include <bit>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>

namespace rewindle::test {
namespace {

using Path = std::filesystem::path;

template <class T>
T valueAt(const std::string& bytes, std::size_t offset) {
    T value{};
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

class SndfileWriterTest : public testing::Test {
protected:
    /// Values that any rounding, scaling or clipping would change.
    void fill(std::size_t frames) {
        left.resize(frames);
        right.resize(frames);
        for (std::size_t i = 0; i < frames; ++i) {
            left[i] = 1.7F * std::sin(0.1F * static_cast<float>(i));
            right[i] = std::ldexp(left[i], -static_cast<int>(i % 140));
        }
        right[0] = std::numeric_limits<float>::denorm_min();
    }
    Result<void> write() {
        told.clear();
        return writer.write(path, AudioFileFormat{}, left, right, [this](double done) { told.push_back(done); });
    }

    TemporaryFolder folder;
    const Path path = folder.path / "clip.wav";
    SndfileWriter writer;
    std::vector<float> left;
    std::vector<float> right;
    std::vector<double> told; // of the progress
};

constexpr std::size_t kStretch = 2'097'152; // frames

TEST_F(SndfileWriterTest, WritesAPlainFloatWavWithEverySampleBitForBit) {
    for (const std::size_t frames : {std::size_t{1}, std::size_t{4095}, std::size_t{4097}, kStretch, kStretch + 1}) {
        SCOPED_TRACE(frames);
        std::filesystem::remove(path);
        fill(frames);
        ASSERT_TRUE(write().ok());
        ASSERT_EQ(told.size(), frames > kStretch ? 1U : 0U); // before the end, of long clips only
        for (const double done : told)
            EXPECT_DOUBLE_EQ(done, double(kStretch) / double(frames));
        const std::string bytes = contentOf(path);
        EXPECT_EQ(bytes.substr(0, 4) + bytes.substr(8, 8), "RIFFWAVEfmt ");
        EXPECT_EQ(valueAt<std::uint32_t>(bytes, 4), bytes.size() - 8);
        EXPECT_EQ(valueAt<std::uint16_t>(bytes, 20), 3); // IEEE float
        EXPECT_EQ(valueAt<std::uint16_t>(bytes, 22), 2);
        EXPECT_EQ(valueAt<std::uint32_t>(bytes, 24), 48'000U);
        EXPECT_EQ(valueAt<std::uint16_t>(bytes, 34), 32);
        const std::size_t data = bytes.find("data");
        ASSERT_EQ(bytes.size(), data + 8 + frames * 8);
        EXPECT_EQ(valueAt<std::uint32_t>(bytes, data + 4), frames * 8);
        EXPECT_EQ(bytes.substr(0, data).find("PEAK"), std::string::npos);
        for (std::size_t i = 0; i < frames; ++i) {
            ASSERT_EQ(valueAt<std::uint32_t>(bytes, data + 8 + 8 * i), std::bit_cast<std::uint32_t>(left[i])) << i;
            ASSERT_EQ(valueAt<std::uint32_t>(bytes, data + 12 + 8 * i), std::bit_cast<std::uint32_t>(right[i])) << i;
        }
    }
}

TEST_F(SndfileWriterTest, NeverWritesOverAFileAndNamesTheReasonOfEveryFailure) {
    fill(10);
    std::ofstream(path) << "mine";
    const auto existing = write();
    ASSERT_FALSE(existing.ok());
    EXPECT_EQ(existing.error(), systemError(std::errc::file_exists));
    EXPECT_EQ(contentOf(path), "mine");
    const auto missing = writer.write(folder.path / "none" / "clip.wav", {}, left, right, {});
    ASSERT_FALSE(missing.ok());
    EXPECT_EQ(missing.error(), systemError(std::errc::no_such_file_or_directory));

    std::filesystem::remove(path);
    fill(10'000); // 80,000 bytes
    std::signal(SIGXFSZ, SIG_IGN);
    for (const rlim_t longest : {0, 64'000}) { // as on a disk that is full, at once or in the middle
        const ResourceLimit limit(RLIMIT_FSIZE, longest);
        const auto full = write();
        ASSERT_FALSE(full.ok());
        EXPECT_EQ(full.error(), systemError(std::errc::file_too_large));
        std::filesystem::remove(path);
    }
}

} // namespace
} // namespace rewindle::test
