#include "host/files/FileLock.h"

#include "base/SystemError.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>

namespace rewindle {

Result<FileLock> FileLock::acquire(const std::filesystem::path& file, std::chrono::milliseconds patience) {
    FileHandle handle(::open(file.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!handle.isOpen()) return systemError(errno);
    const auto limit = std::chrono::steady_clock::now() + patience;
    // The system has no waiting with a limit; a holder is done within a fraction of a millisecond.
    while (::flock(handle.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == ENOLCK || errno == ENOSYS || errno == EOPNOTSUPP) break;
        if (errno != EWOULDBLOCK && errno != EINTR) return systemError(errno);
        if (std::chrono::steady_clock::now() >= limit) return systemError(EWOULDBLOCK);
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return FileLock(std::move(handle));
}

} // namespace rewindle
