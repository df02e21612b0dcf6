#include "waveform/ClipExport.h"

#include "fakes/ManualClock.h"
#include "platform/SmallMount.h"
#include "platform/TemporaryFolder.h"
#include "platform/files/PosixFileSystem.h"
#include "platform/files/SndfileWriter.h"

#include <fstream>
#include <gtest/gtest.h>
#include <set>
#include <thread>

namespace rewindle::test {
namespace {

using Path = std::filesystem::path;

/// Writes as the real writer does; then another program takes the folder away.
class WriterThatLosesItsFolder final : public AudioFileWriter {
public:
    Result<void> write(const Path& path, AudioFileFormat format, std::span<const float> left,
                       std::span<const float> right, const Progress& progress) override {
        auto written = writer_.write(path, format, left, right, progress);
        std::filesystem::remove_all(path.parent_path());
        return written;
    }

private:
    SndfileWriter writer_;
};

class ClipExportHostTest : public testing::Test {
protected:
    std::string messageOf(const Path& folder) {
        const auto result = exportClip(samples, samples, folder, "rewindle", services);
        return result ? "no error" : result.error().message();
    }

    TemporaryFolder home;
    PosixFileSystem files{UserFolders{home.path, home.path / ".config"}};
    SndfileWriter writer;
    ManualClock clock;
    ClipExportServices services{files, writer, clock};
    std::vector<float> samples = std::vector<float>(48'000, 0.25F); // 384,000 bytes as a clip
};

TEST_F(ClipExportHostTest, AFullDiskIsNamedAndLeavesNothingBehindNorTouchesWhatIsThere) {
    const SmallMount mount;
    if (!mount.isMounted()) GTEST_SKIP() << "this system lets nobody mount a file system here";
    std::ofstream(mount.path() / "mine.txt") << "mine";
    EXPECT_EQ(messageOf(mount.path()), "Could not write the audio file: No space left on device");
    EXPECT_EQ(namesIn(mount.path()), std::vector<std::string>{"mine.txt"});
    samples.resize(4'000); // 32,000 bytes: half of the disk, which must be free again
    EXPECT_EQ(messageOf(mount.path()), "no error");
}

TEST_F(ClipExportHostTest, ADiskFullFromTheFirstByteIsNamedToo) {
    const SmallMount mount;
    if (!mount.isMounted()) GTEST_SKIP() << "this system lets nobody mount a file system here";
    std::ofstream filler(mount.path() / "filler");
    while (filler.write("................", 16).flush()) {
    }
    EXPECT_EQ(messageOf(mount.path()), "Could not write the audio file: No space left on device");
    EXPECT_EQ(namesIn(mount.path()), std::vector<std::string>{"filler"});
}

TEST_F(ClipExportHostTest, AReadOnlyFolderIsNamedAndNoCandidate) {
    const SmallMount mount;
    if (!mount.isMounted()) GTEST_SKIP() << "this system lets nobody mount a file system here";
    ASSERT_TRUE(mount.makeReadOnly());
    for (const Path& folder : {mount.path(), mount.path() / "new"}) {
        EXPECT_EQ(messageOf(folder), "Could not write the audio file: Read-only file system");
    }
    EXPECT_FALSE(files.isWritable(mount.path()));
    EXPECT_TRUE(namesIn(mount.path()).empty());
}

TEST_F(ClipExportHostTest, WrongFoldersAreNamedAndLeftAsTheyAre) {
    std::ofstream(home.path / "file") << "not a folder";
    EXPECT_EQ(messageOf(home.path / "file"), "Could not write the audio file: Not a directory");
    EXPECT_EQ(messageOf(home.path / "file" / "new"), "Could not write the audio file: Not a directory");
    EXPECT_EQ(messageOf(home.path / "a" / "b"), "Could not write the audio file: No such file or directory");
    EXPECT_EQ(namesIn(home.path), std::vector<std::string>{"file"});
}

TEST_F(ClipExportHostTest, AFolderThatVanishesDuringTheWriteIsNamed) {
    WriterThatLosesItsFolder unlucky;
    const ClipExportServices unluckyServices{files, unlucky, clock};
    const auto result = exportClip(samples, samples, home.path / "clips", "rewindle", unluckyServices);
    ASSERT_FALSE(result.ok());
    EXPECT_EQ(result.error().message(), "Could not write the audio file: No such file or directory");
    EXPECT_TRUE(namesIn(home.path).empty());
}

TEST_F(ClipExportHostTest, TheDefaultFolderIsMadeWithAllAboveIt) {
    const Path folder = home.path / "Music" / "rewindle";
    EXPECT_EQ(messageOf(folder), "no error");
    EXPECT_EQ(namesIn(folder), std::vector<std::string>{"rewindle-1731249600123.wav"});
}

TEST_F(ClipExportHostTest, ExportsAtTheSameMomentFromSeveralThreadsAllKeepTheirOwnName) {
    std::vector<Path> locations(8);
    {
        std::vector<std::jthread> exports;
        for (Path& location : locations) {
            exports.emplace_back([&] {
                auto result = exportClip(samples, samples, home.path, "rewindle", services);
                if (result) location = result.value();
            });
        }
    }
    const std::set<Path> distinct(locations.begin(), locations.end());
    EXPECT_EQ(distinct.size(), locations.size());
    EXPECT_EQ(namesIn(home.path).size(), locations.size());
    for (const Path& location : locations) {
        EXPECT_EQ(std::filesystem::file_size(location), std::filesystem::file_size(locations[0]));
        EXPECT_GT(std::filesystem::file_size(location), samples.size() * 8);
    }
}

} // namespace
} // namespace rewindle::test
