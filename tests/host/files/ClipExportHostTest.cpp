#include "waveform/ClipExport.h"

#include "fakes/ManualClock.h"
#include "host/files/PosixFileSystem.h"
#include "host/files/SmallMount.h"
#include "host/files/SndfileWriter.h"
#include "host/files/TemporaryFolder.h"

#include <fstream>
#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

using Path = std::filesystem::path;

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

TEST_F(ClipExportHostTest, ADiskThatIsFullOrReadOnlyIsNamedAndKeepsNothingButWhatIsThere) {
    const SmallMount mount;
    if (!mount.isMounted()) GTEST_SKIP() << "this system lets nobody mount a file system here";
    const std::string full = "Could not write the audio file: No space left on device";
    std::ofstream(mount.path() / "mine") << "mine";
    EXPECT_EQ(messageOf(mount.path()), full);
    EXPECT_EQ(namesIn(mount.path()), std::vector<std::string>{"mine"});
    samples.resize(4'000); // 32,000 bytes: half of the disk, which must be free again
    EXPECT_EQ(messageOf(mount.path()), "no error");

    for (std::ofstream filler(mount.path() / "mine"); filler.write("................", 16).flush();) {
    }
    EXPECT_EQ(messageOf(mount.path()), full) << "from the first byte on";
    ASSERT_TRUE(mount.makeReadOnly());
    for (const Path& folder : {mount.path(), mount.path() / "new"})
        EXPECT_EQ(messageOf(folder), "Could not write the audio file: Read-only file system");
    EXPECT_FALSE(files.isWritable(mount.path()));
    EXPECT_EQ(namesIn(mount.path()).size(), 2U);
}

} // namespace
} // namespace rewindle::test
