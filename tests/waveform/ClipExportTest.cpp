#include "waveform/ClipExport.h"

#include "fakes/FakeFileSystem.h"
#include "fakes/ManualClock.h"

#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

using Path = std::filesystem::path;
using Case = WaveformExportError::Case;

class ClipExportTest : public testing::Test {
protected:
    ClipExportTest() { files.folders.insert("/clips"); }

    Result<Path, WaveformExportError> exportTo(const Path& folder) {
        return exportClip(left, right, folder, "rewindle", services);
    }
    std::string messageOf(const Path& folder) {
        const auto result = exportTo(folder);
        return result ? "no error" : result.error().message();
    }

    FakeFileSystem files;
    FakeAudioFileWriter writer{files};
    ManualClock clock;
    ClipExportServices services{files, writer, clock};
    std::vector<float> left{0.1F, 0.2F, 0.3F};
    std::vector<float> right{-0.1F, -0.2F};
    const Path first = "/clips/rewindle-1731249600123.wav";
};

TEST_F(ClipExportTest, WritesTheShorterLengthOfBothChannelsAt48000HzUnderPrefixAndMilliseconds) {
    const auto result = exportTo("/clips/");
    ASSERT_TRUE(result.ok());
    EXPECT_EQ(result.value(), first);
    ASSERT_EQ(files.files.size(), 1U);
    EXPECT_EQ(files.files[first].left, (std::vector{0.1F, 0.2F}));
    EXPECT_EQ(files.files[first].right, right);
    EXPECT_EQ(writer.lastFormat.sampleRate, 48'000);
}

TEST_F(ClipExportTest, TheNumberOfATakenNameStandsBeforeTheExtension) {
    const char* const cases[][4] = {{"a.wav", "a.wav", "a (2).wav", "a (3).wav"},
                                    {"a", "a", "a (2)", "a (3)"},
                                    {"a.b.wav", "a.b.wav", "a.b (2).wav", "a.b (3).wav"},
                                    {"a (2).wav", "a (2).wav", "a (2) (2).wav", "a (2) (3).wav"}};
    for (const auto& names : cases) {
        files.files.clear();
        for (int i = 1; i < 4; ++i) {
            const Path location = uniqueClipLocation("/clips", names[0], files);
            EXPECT_EQ(location, Path("/clips") / names[i]);
            files.files[location] = {};
        }
    }
}

TEST_F(ClipExportTest, ANameThatIsTakenWhileTheClipIsWrittenIsPassedOver) {
    int taken = 0;
    files.beforeRename = [&](const Path& to) {
        if (taken++ < 2) files.files[to] = {{9.0F}, {9.0F}};
    };
    EXPECT_EQ(exportTo("/clips").value(), Path("/clips/rewindle-1731249600123 (3).wav"));
    EXPECT_EQ(files.files.size(), 3U);
    EXPECT_EQ(files.files[first].left, (std::vector{9.0F}));
}

TEST_F(ClipExportTest, AClipOfAGivenNameNeverReplacesAFile) {
    EXPECT_TRUE(writeClip(left, right, "/clips/mine.wav", services).ok());
    left[0] = 5.0F;
    EXPECT_EQ(writeClip(left, right, "/clips/mine.wav", services).error().message(),
              "Could not write the audio file: File exists");
    EXPECT_EQ(files.files.size(), 1U);
    EXPECT_EQ(files.files["/clips/mine.wav"].left[0], 0.1F);
}

TEST_F(ClipExportTest, MakesAMissingFolderButOnlyForTheDefaultFolderThoseAboveIt) {
    files.folders.erase("/home/user/Music");
    EXPECT_TRUE(exportTo("/clips/new/").ok());
    EXPECT_TRUE(exportTo("/home/user/Music/rewindle").ok());
    EXPECT_EQ(messageOf("/clips/a/b"), "Could not write the audio file: No such file or directory");
    EXPECT_FALSE(files.isDirectory("/clips/a"));
}

TEST_F(ClipExportTest, EveryFailureIsNamedAndLeavesNoFileBehind) {
    files.folders.insert("/locked");
    files.readOnly.insert("/locked");
    files.files["/file"] = {};
    EXPECT_EQ(messageOf("/locked"), "Could not write the audio file: Read-only file system");
    EXPECT_EQ(messageOf("/locked/new"), "Could not write the audio file: Read-only file system");
    EXPECT_EQ(messageOf("/file"), "Could not write the audio file: Not a directory");
    EXPECT_EQ(messageOf("/file/new"), "Could not write the audio file: Not a directory");
    files.beforeRename = [&](const Path&) { files.removeFolder("/clips"); };
    EXPECT_EQ(messageOf("/clips"), "Could not write the audio file: No such file or directory");
    files.folders.insert("/clips");
    files.beforeRename = nullptr;
    const std::pair<std::errc, std::string> failures[] = {
        {std::errc::no_space_on_device, "Could not write the audio file: No space left on device"},
        {std::errc::not_enough_memory, "Could not allocate memory for export."},
        {std::errc::not_supported, "Could not create the audio format for export."}};
    for (const auto& [failure, message] : failures) {
        writer.failure = failure;
        EXPECT_EQ(messageOf("/clips"), message);
        EXPECT_FALSE(writeClip(left, right, "/clips/x.wav", services).ok());
    }
    EXPECT_EQ(files.files.size(), 1U); // "/file", which was there before
}

TEST_F(ClipExportTest, NoAudioIsNotAClip) {
    right.clear();
    EXPECT_EQ(messageOf("/not/there"), "There is not enough audio to export.");
    EXPECT_EQ(writeClip(left, right, first, services).error(), WaveformExportError(Case::emptySelection));
    EXPECT_TRUE(files.files.empty());
}

} // namespace
} // namespace rewindle::test
