#include "host/files/RenameWithoutReplacing.h"

#include "host/files/TemporaryFolder.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

using Rename = int (*)(const std::filesystem::path&, const std::filesystem::path&);

/// Every way must keep the promise, whichever a file system happens to need.
class RenameWithoutReplacingTest : public testing::TestWithParam<Rename> {
protected:
    void make(const char* name) { std::ofstream(folder.path / name) << name; }
    int rename(const char* from, const char* to) { return GetParam()(folder.path / from, folder.path / to); }

    TemporaryFolder folder;
};

TEST_P(RenameWithoutReplacingTest, GivesAFileAFreeNameAndNeverOneThatIsTaken) {
    make("a");
    make("b");
    std::filesystem::create_symlink(folder.path / "nowhere", folder.path / "link");
    EXPECT_EQ(rename("a", "b"), EEXIST);
    EXPECT_EQ(rename("a", "link"), EEXIST);
    EXPECT_EQ(contentOf(folder.path / "a"), "a");
    EXPECT_EQ(contentOf(folder.path / "b"), "b");
    EXPECT_EQ(rename("a", "c"), 0);
    EXPECT_EQ(contentOf(folder.path / "c"), "a");
    EXPECT_EQ(rename("gone", "d"), ENOENT);
    EXPECT_EQ(namesIn(folder.path).size(), 3U);
}

INSTANTIATE_TEST_SUITE_P(Ways, RenameWithoutReplacingTest,
                         testing::Values(&renameInOneStep, &renameByLinking, &renameByReserving,
                                         &renameWithoutReplacing));

} // namespace
} // namespace rewindle::test
