#pragma once

#include <filesystem>
#include <optional>
#include <string_view>

namespace rewindle {

/// Where the folders of a user are.
struct UserFolders {
    std::filesystem::path home;
    std::filesystem::path config; // $XDG_CONFIG_HOME, or ".config" in the home folder
};

/// Those of the user who runs this process: from the environment, else from the user database.
[[nodiscard]] UserFolders currentUserFolders();

/// The music folder that the text of a user-dirs.dirs file names, if it names a valid one: an absolute path,
/// or one that begins with "$HOME/".
[[nodiscard]] std::optional<std::filesystem::path> musicFolderFromUserDirs(std::string_view text,
                                                                           const std::filesystem::path& home);

} // namespace rewindle
