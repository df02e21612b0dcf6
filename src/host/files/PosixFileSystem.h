#pragma once

#include "host/files/UserFolders.h"
#include "platform/FileSystem.h"

namespace rewindle {

/// The computer's own folders and files.
class PosixFileSystem final : public FileSystem {
public:
    explicit PosixFileSystem(UserFolders user = currentUserFolders()) : user_(std::move(user)) {}

    /// What user-dirs.dirs in the user's configuration says, read anew each time; "Music" in the home folder
    /// when it says nothing.
    [[nodiscard]] Path musicDirectory() const override;
    [[nodiscard]] bool exists(const Path& path) const override;
    [[nodiscard]] bool isDirectory(const Path& path) const override;
    [[nodiscard]] bool isWritable(const Path& path) const override;
    Result<void> createDirectories(const Path& path) override;
    Result<void> renameWithoutReplacing(const Path& from, const Path& to) override;
    Result<void> remove(const Path& path) override;

private:
    UserFolders user_;
};

} // namespace rewindle
