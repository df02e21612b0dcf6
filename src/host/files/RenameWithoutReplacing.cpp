#include "host/files/RenameWithoutReplacing.h"

#include "host/files/FileHandle.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace rewindle {
namespace {

using Path = std::filesystem::path;

/// Whether the error says that the file system cannot do such a thing at all.
bool isUnsupported(int error) {
    return error == EINVAL || error == ENOSYS || error == ENOTSUP || error == EPERM;
}

} // namespace

int renameInOneStep(const Path& from, const Path& to) {
    return ::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0 ? 0 : errno;
}

int renameByLinking(const Path& from, const Path& to) {
    if (::link(from.c_str(), to.c_str()) != 0) return errno;
    if (::unlink(from.c_str()) == 0) return 0;
    const int error = errno;
    ::unlink(to.c_str());
    return error;
}

int renameByReserving(const Path& from, const Path& to) {
    {
        const FileHandle reserved(::open(to.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (!reserved.isOpen()) return errno;
    }
    if (::rename(from.c_str(), to.c_str()) == 0) return 0;
    const int error = errno;
    ::unlink(to.c_str());
    return error;
}

int renameWithoutReplacing(const Path& from, const Path& to) {
    int error = renameInOneStep(from, to);
    if (isUnsupported(error)) error = renameByLinking(from, to);
    if (isUnsupported(error)) error = renameByReserving(from, to);
    return error;
}

} // namespace rewindle
