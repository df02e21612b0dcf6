#pragma once

#include "base/Result.h"

#include <filesystem>
#include <string>

namespace rewindle {

/// Folders and files, as far as clips need them. Paths are absolute.
///
/// Threads: any.
/// Errors:  `Error::code` is the errno, `Error::message` the system's text for it ("No space left
///          on device").
class FileSystem {
public:
    using Path = std::filesystem::path;
    virtual ~FileSystem() = default;

    /// The folder in which the user's music lies.
    [[nodiscard]] virtual Path musicDirectory() const = 0;

    /// Whether the name is taken; a link that leads nowhere takes it, too.
    [[nodiscard]] virtual bool exists(const Path& path) const = 0;
    [[nodiscard]] virtual bool isDirectory(const Path& path) const = 0;
    [[nodiscard]] virtual bool isWritable(const Path& path) const = 0;
    /// Makes the folder and those above it; one that is there already is a success. ENOTDIR when something
    /// else is there or above.
    virtual Result<void> createDirectories(const Path& path) = 0;
    /// Moves a file to a name in the same folder, durably. Fails with EEXIST when the name is taken: nothing
    /// is replaced, and the file is where it was.
    virtual Result<void> renameWithoutReplacing(const Path& from, const Path& to) = 0;
    /// A missing file is a success.
    virtual Result<void> remove(const Path& path) = 0;
};

} // namespace rewindle
