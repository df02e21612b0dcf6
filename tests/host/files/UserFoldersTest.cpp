#include "host/files/UserFolders.h"

#include <cstdlib>
#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

using Path = std::filesystem::path;

TEST(UserFoldersTest, FindsTheMusicFolderAsTheDesktopWritesIt) {
    const std::pair<const char*, std::optional<Path>> cases[] = {
        {"", std::nullopt},
        {"XDG_MUSIC_DIR=\"$HOME/Music\"\n", "/home/u/Music"},
        {"# comment\nXDG_DESKTOP_DIR=\"$HOME/Desktop\"\n  XDG_MUSIC_DIR=\"/srv/audio\"", "/srv/audio"},
        {"#XDG_MUSIC_DIR=\"$HOME/Old\"\n", std::nullopt},
        {"XDG_MUSIC_DIR=\"$HOME/My \\\"Best\\\" Songs\"\n", "/home/u/My \"Best\" Songs"},
        {"XDG_MUSIC_DIR=\"$HOME/\"\n", "/home/u"}, // how the desktop writes that the user wants none of its own
        {"XDG_MUSIC_DIR=\"$HOMEWORK/Music\"\n", std::nullopt},
        {"XDG_MUSIC_DIR=\"Music\"\n", std::nullopt},
        {"XDG_MUSIC_DIR=$HOME/Music\n", std::nullopt},
        {"XDG_MUSIC_DIR=\"$HOME/Music\n", std::nullopt},
        {"XDG_MUSIC_DIR=\"/a\"\nXDG_MUSIC_DIR=\"/b\"\nXDG_MUSIC_DIR=\"c\"\n", "/b"},
    };
    for (const auto& [text, folder] : cases)
        EXPECT_EQ(musicFolderFromUserDirs(text, "/home/u"), folder) << text;
}

TEST(UserFoldersTest, ComeFromTheEnvironmentWhenItGivesAbsolutePathsAndElseFromTheUserDatabase) {
    // NOLINTBEGIN(concurrency-mt-unsafe): there is one thread
    ::setenv("HOME", "/home/somebody", 1);
    ::setenv("XDG_CONFIG_HOME", "/etc/somebody", 1);
    EXPECT_EQ(currentUserFolders().home, "/home/somebody");
    EXPECT_EQ(currentUserFolders().config, "/etc/somebody");
    ::setenv("XDG_CONFIG_HOME", "relative", 1);
    EXPECT_EQ(currentUserFolders().config, "/home/somebody/.config");
    ::unsetenv("HOME");
    // NOLINTEND(concurrency-mt-unsafe)
    EXPECT_TRUE(currentUserFolders().home.is_absolute());
    EXPECT_NE(currentUserFolders().home, "/home/somebody");
}

} // namespace
} // namespace rewindle::test
