#include "fakes/FakeFileSystem.h"
#include "host/HostFiles.h"
#include "host/files/PosixFileSystem.h"
#include "host/files/TemporaryFolder.h"

#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace rewindle::test {
namespace {

using Path = std::filesystem::path;

/// A file system with an empty folder in it to play in.
struct Playground {
    std::shared_ptr<FileSystem> files;
    Path folder;
    std::function<void(const Path&)> makeFile;
};

Playground fakePlayground() {
    const auto files = std::make_shared<FakeFileSystem>();
    return {files, "/home/user", [files](const Path& path) { files->files[path] = {}; }};
}

Playground hostPlayground() {
    const auto folder = std::make_shared<TemporaryFolder>();
    return {std::make_shared<PosixFileSystem>(UserFolders{folder->path, folder->path}), folder->path,
            [folder](const Path& path) { std::ofstream(path) << path; }};
}

class FileSystemContractTest : public testing::TestWithParam<Playground (*)()> {
protected:
    const Playground playground = GetParam()();
    FileSystem& files = *playground.files;
    const Path& folder = playground.folder;
};

TEST_P(FileSystemContractTest, TellsFilesFoldersAndNothingApart) {
    playground.makeFile(folder / "file");
    EXPECT_TRUE(files.exists(folder / "file"));
    EXPECT_FALSE(files.isDirectory(folder / "file"));
    EXPECT_TRUE(files.isWritable(folder / "file"));
    EXPECT_TRUE(files.exists(folder));
    EXPECT_TRUE(files.isDirectory(folder));
    EXPECT_TRUE(files.isWritable(folder));
    for (const Path& nothing : {folder / "none", folder / "file" / "none"}) {
        EXPECT_FALSE(files.exists(nothing) || files.isDirectory(nothing) || files.isWritable(nothing));
    }
}

TEST_P(FileSystemContractTest, MakesFoldersWithAllAboveThemButNotThroughAFile) {
    EXPECT_TRUE(files.createDirectories(folder / "a" / "b").ok());
    EXPECT_TRUE(files.createDirectories(folder / "a" / "b").ok());
    EXPECT_TRUE(files.isDirectory(folder / "a" / "b"));
    playground.makeFile(folder / "file");
    for (const Path& wrong : {folder / "file", folder / "file" / "c"}) {
        const auto made = files.createDirectories(wrong);
        ASSERT_FALSE(made.ok());
        EXPECT_EQ(made.error(), systemError(std::errc::not_a_directory));
    }
}

TEST_P(FileSystemContractTest, RenamesAFileButNeverOverAnotherAndDoesNotMindToRemoveAMissingOne) {
    playground.makeFile(folder / "a");
    playground.makeFile(folder / "b");
    EXPECT_EQ(files.renameWithoutReplacing(folder / "a", folder / "b").error(), systemError(std::errc::file_exists));
    EXPECT_TRUE(files.exists(folder / "a"));
    EXPECT_TRUE(files.renameWithoutReplacing(folder / "a", folder / "c").ok());
    EXPECT_FALSE(files.exists(folder / "a"));
    EXPECT_TRUE(files.exists(folder / "c"));
    EXPECT_EQ(files.renameWithoutReplacing(folder / "a", folder / "d").error(),
              systemError(std::errc::no_such_file_or_directory));
    EXPECT_TRUE(files.remove(folder / "a").ok());
    EXPECT_TRUE(files.remove(folder / "b").ok());
    EXPECT_FALSE(files.exists(folder / "b"));
}

INSTANTIATE_TEST_SUITE_P(All, FileSystemContractTest, testing::Values(&fakePlayground, &hostPlayground),
                         [](const auto& param) { return param.index == 0 ? "Fake" : "Host"; });

TEST(PosixFileSystemTest, ANameIsTakenByALinkThatLeadsNowhereAndNotEveryFolderIsWritable) {
    const TemporaryFolder folder;
    const OrdinaryUser user(folder.path);
    const PosixFileSystem files(UserFolders{folder.path, folder.path});
    std::filesystem::create_symlink(folder.path / "nowhere", folder.path / "link");
    EXPECT_TRUE(files.exists(folder.path / "link"));
    std::filesystem::permissions(folder.path, std::filesystem::perms::owner_read);
    EXPECT_FALSE(files.isWritable(folder.path));
}

} // namespace
} // namespace rewindle::test
