#include "host/files/PosixFileSystem.h"

#include "base/SystemError.h"
#include "host/files/FileHandle.h"
#include "host/files/RenameWithoutReplacing.h"

#include <cerrno>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <unistd.h>

namespace rewindle {
namespace {

/// Makes the names in a folder outlive a power failure. Not every file system can, and the file is complete
/// without.
void syncFolder(const std::filesystem::path& folder) {
    const FileHandle handle(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (handle.isOpen()) ::fsync(handle.get());
}

} // namespace

PosixFileSystem::Path PosixFileSystem::musicDirectory() const {
    std::ifstream file(user_.config / "user-dirs.dirs");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    return musicFolderFromUserDirs(text, user_.home).value_or(user_.home / "Music");
}

bool PosixFileSystem::exists(const Path& path) const {
    struct stat found {};
    return ::lstat(path.c_str(), &found) == 0;
}

bool PosixFileSystem::isDirectory(const Path& path) const {
    struct stat found {};
    return ::stat(path.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
}

bool PosixFileSystem::isWritable(const Path& path) const {
    return ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

Result<void> PosixFileSystem::createDirectories(const Path& path) {
    std::error_code error;
    std::filesystem::create_directories(path, error);
    if (error) return systemError(error.value());
    return {};
}

Result<void> PosixFileSystem::renameWithoutReplacing(const Path& from, const Path& to) {
    if (const int error = rewindle::renameWithoutReplacing(from, to)) return systemError(error);
    syncFolder(to.parent_path());
    return {};
}

Result<void> PosixFileSystem::remove(const Path& path) {
    if (::unlink(path.c_str()) != 0 && errno != ENOENT) return systemError(errno);
    return {};
}

} // namespace rewindle
