#include "platform/files/RenameWithoutReplacing.h"

#include "platform/TemporaryFolder.h"

#include <cerrno>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace rewindle::test {
namespace {

using Rename = int (*)(const std::filesystem::path&, const std::filesystem::path&);

/// Every way must keep the promise, whichever a file system happens to need.
class RenameWithoutReplacingTest : public testing::TestWithParam<Rename> {
protected:
    void make(const char* name) { std::ofstream(folder.path / name) << name; }
    std::string textOf(const char* name) {
        std::ifstream file(folder.path / name);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    int rename(const char* from, const char* to) { return GetParam()(folder.path / from, folder.path / to); }

    TemporaryFolder folder;
};

TEST_P(RenameWithoutReplacingTest, GivesAFileAFreeNameAndNeverOneThatIsTaken) {
    make("a");
    make("b");
    std::filesystem::create_symlink(folder.path / "nowhere", folder.path / "link");
    EXPECT_EQ(rename("a", "b"), EEXIST);
    EXPECT_EQ(rename("a", "link"), EEXIST);
    EXPECT_EQ(textOf("a"), "a");
    EXPECT_EQ(textOf("b"), "b");
    EXPECT_EQ(rename("a", "c"), 0);
    EXPECT_EQ(textOf("c"), "a");
    EXPECT_EQ(namesIn(folder.path).size(), 3U);
}

TEST_P(RenameWithoutReplacingTest, LeavesNoNameBehindWhenTheFileIsGone) {
    EXPECT_EQ(rename("gone", "c"), ENOENT);
    EXPECT_TRUE(namesIn(folder.path).empty());
}

INSTANTIATE_TEST_SUITE_P(Ways, RenameWithoutReplacingTest,
                         testing::Values(&renameInOneStep, &renameByLinking, &renameByReserving,
                                         &renameWithoutReplacing));

} // namespace
} // namespace rewindle::test
