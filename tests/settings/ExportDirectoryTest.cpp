#include "settings/ExportDirectory.h"

#include "fakes/FakeFileSystem.h"

#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

class ExportDirectoryTest : public testing::Test {
protected:
    ExportDirectoryTest() {
        files.folders.insert({"/mnt", "/mnt/clips", "/mnt/locked"});
        files.files["/mnt/file"] = {};
        files.readOnly.insert("/mnt/locked");
    }

    FakeFileSystem files;
    ExportDirectory directory{files};
};

TEST_F(ExportDirectoryTest, ACustomFolderCountsWhileItOrTheFolderAboveItIsThere) {
    const std::filesystem::path fallback = "/home/user/Music/rewindle";
    const std::pair<std::optional<std::string>, std::filesystem::path> cases[] = {{std::nullopt, fallback},
                                                                                  {"", fallback},
                                                                                  {"/mnt/clips", "/mnt/clips"},
                                                                                  {"/mnt/clips/", "/mnt/clips"},
                                                                                  {"/mnt/gone", "/mnt/gone"},
                                                                                  {"/mnt/gone/", "/mnt/gone"},
                                                                                  {"/mnt/gone/deeper", fallback},
                                                                                  {"/mnt/file/deeper", fallback},
                                                                                  {"/", "/"}};
    for (const auto& [custom, resolved] : cases) {
        EXPECT_EQ(directory.resolvedURL(custom), resolved) << custom.value_or("none");
    }
}

TEST_F(ExportDirectoryTest, OnlyAFolderThatCanTakeFilesOrCanBeMadeIsACandidate) {
    const std::pair<const char*, bool> cases[] = {
        {"/mnt/clips", true},       {"/mnt/clips/", true},    {"/mnt/new", true},
        {"/mnt/new/", true},        {"/mnt/file", false},     {"/mnt/locked", false},
        {"/mnt/locked/new", false}, {"/mnt/gone/new", false}, {"/mnt/file/new", false},
    };
    for (const auto& [folder, usable] : cases) {
        EXPECT_EQ(directory.isWritableDirectoryCandidate(folder), usable) << folder;
    }
}

} // namespace
} // namespace rewindle::test
