#pragma once

#include "base/Result.h"
#include "host/defaults/JsonDefaultsText.h"
#include "host/files/FileHandle.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <sys/stat.h>
#include <utility>

namespace rewindle {

/// A settings file that several processes may read and change: what is in it, and changes under a lock.
///
/// Threads: one at a time.
/// Errors:  `Error::code` is the errno; EWOULDBLOCK when another process kept the lock.
class JsonDefaultsFile {
public:
    using Path = std::filesystem::path;
    using Change = std::function<void(JsonMembers&)>;

    explicit JsonDefaultsFile(Path path) : path_(std::move(path)) {}

    /// What the file holds now. It is read only when its attributes have changed. Empty when it cannot be read. While
    /// it holds no settings, what it held before.
    [[nodiscard]] const JsonMembers& members();
    [[nodiscard]] bool isDamaged() const { return damaged_; }

    /// Applies the change to what the file holds at that moment, and says whether that made a difference. A file that
    /// holds no settings is set aside first.
    [[nodiscard]] Result<bool> change(const Change& change, std::chrono::milliseconds patience);
    /// Moves a file that holds no settings to a free name beside it.
    [[nodiscard]] Result<void> setAsideIfDamaged(std::chrono::milliseconds patience);
    /// Where the last damaged file went, once.
    [[nodiscard]] std::optional<Path> takeSetAside() { return std::exchange(setAside_, std::nullopt); }

private:
    void read();
    void forget(int error);
    [[nodiscard]] Path lockPath() const;
    [[nodiscard]] Result<void> setAside();
    [[nodiscard]] Result<void> write(JsonMembers members);

    const Path path_;
    JsonMembers members_;
    bool damaged_ = false;               // the file is there and is no JSON object
    int unreadable_ = 0;                 // errno of a file that is there
    std::optional<FileHandle> seenFile_; // kept open, so that no other file gets its inode number
    struct stat seen_ {};
    std::optional<Path> setAside_;
};

} // namespace rewindle
