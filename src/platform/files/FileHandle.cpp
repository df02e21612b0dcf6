#include "platform/files/FileHandle.h"

#include "base/SystemError.h"

#include <cerrno>
#include <unistd.h>

namespace rewindle {

FileHandle::~FileHandle() {
    if (isOpen()) ::close(descriptor_);
}

Result<void> FileHandle::syncAndClose() {
    // EINVAL: a file system that keeps everything in memory and has nothing to do.
    const int syncError = ::fdatasync(descriptor_) != 0 && errno != EINVAL ? errno : 0;
    // EINTR: Linux has closed the descriptor all the same.
    const int closeError = ::close(std::exchange(descriptor_, -1)) != 0 && errno != EINTR ? errno : 0;
    if (syncError != 0) return systemError(syncError);
    if (closeError != 0) return systemError(closeError);
    return {};
}

} // namespace rewindle
