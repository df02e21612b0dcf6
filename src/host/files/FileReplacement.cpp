#include "host/files/FileReplacement.h"

#include "base/SystemError.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace rewindle {
namespace {

using Path = std::filesystem::path;

constexpr int kLongestChainOfLinks = 40; // as the kernel's own
constexpr mode_t kForTheUserAlone = S_IRUSR | S_IWUSR;

int writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno == EINTR) continue;
        if (written < 0) return errno;
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

/// 0, or the errno of the step that failed.
int writeAndRename(int descriptor, const Path& temporary, const Path& path, std::string_view bytes,
                   Durability durability) {
    // A file that a killed process left behind may have another mode.
    if (::fchmod(descriptor, kForTheUserAlone) != 0) return errno;
    if (const int error = writeAll(descriptor, bytes)) return error;
    if (durability == Durability::againstPowerFailure && ::fdatasync(descriptor) != 0 && errno != EINVAL)
        return errno;
    return ::rename(temporary.c_str(), path.c_str()) != 0 ? errno : 0;
}

void syncPath(const Path& path, int flags) {
    const FileHandle handle(::open(path.c_str(), O_RDONLY | O_CLOEXEC | flags));
    if (handle.isOpen()) ::fsync(handle.get());
}

} // namespace

Path behindLinks(const Path& path) {
    Path end = path;
    for (int hops = 0; hops < kLongestChainOfLinks; ++hops) {
        std::error_code noLink;
        const auto next = std::filesystem::read_symlink(end, noLink);
        if (noLink) break;
        end = end.parent_path() / next; // an absolute one replaces it all
    }
    return end;
}

Path ownTemporaryFor(const Path& path) {
    return path.parent_path() / ("." + path.filename().native() + "." + std::to_string(::getpid()));
}

Result<void> createPrivateFolders(const Path& folder) {
    struct stat found {};
    if (::stat(folder.c_str(), &found) == 0) return {};
    if (folder.has_relative_path()) {
        if (auto above = createPrivateFolders(folder.parent_path()); !above) return above;
    }
    if (::mkdir(folder.c_str(), S_IRWXU) != 0 && errno != EEXIST) return systemError(errno);
    return {};
}

Result<FileHandle> replaceFile(const Path& path, const Path& temporary, std::string_view bytes,
                               Durability durability) {
    struct stat old {};
    // Whoever put a device or a pipe under this name wants nothing to be kept.
    if (::lstat(path.c_str(), &old) == 0 && !S_ISREG(old.st_mode) && !S_ISLNK(old.st_mode))
        return systemError(EINVAL);
    FileHandle file(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, kForTheUserAlone));
    if (!file.isOpen()) return systemError(errno);
    if (const int error = writeAndRename(file.get(), temporary, path, bytes, durability)) {
        ::unlink(temporary.c_str());
        return systemError(error);
    }
    if (durability == Durability::againstPowerFailure) syncPath(path.parent_path(), O_DIRECTORY);
    return file;
}

void syncFile(const Path& path) {
    syncPath(path, 0);
    syncPath(path.parent_path(), O_DIRECTORY);
}

} // namespace rewindle
