#pragma once

#include "base/Result.h"
#include "host/files/FileHandle.h"

#include <chrono>
#include <filesystem>

namespace rewindle {

/// Keeps other processes, and other locks of this one, from what a lock file stands for. Ends with its holder.
class FileLock {
public:
    /// Waits at most `patience`, then fails with EWOULDBLOCK; with another errno when there can be no such file.
    /// Succeeds without a lock where the file system has none.
    [[nodiscard]] static Result<FileLock> acquire(const std::filesystem::path& file,
                                                  std::chrono::milliseconds patience);

private:
    explicit FileLock(FileHandle handle) : handle_(std::move(handle)) {}
    FileHandle handle_; // closing it lets go
};

} // namespace rewindle
