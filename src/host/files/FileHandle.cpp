#include "host/files/FileHandle.h"

#include "base/SystemError.h"

#include <cerrno>
#include <unistd.h>

namespace rewindle {

FileHandle::~FileHandle() {
    if (isOpen()) ::close(descriptor_);
}

Result<void> FileHandle::sync() const {
    // EINVAL: a file system that keeps everything in memory and has nothing to do.
    if (::fdatasync(descriptor_) != 0 && errno != EINVAL) return systemError(errno);
    return {};
}

Result<void> FileHandle::syncAndClose() {
    auto synced = sync();
    // EINTR: Linux has closed the descriptor all the same.
    const int closeError = ::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR ? errno : 0;
    if (closeError != 0 && synced) return systemError(closeError);
    return synced;
}

} // namespace rewindle
