#pragma once

#include "base/Result.h"
#include "host/files/FileHandle.h"

#include <filesystem>
#include <string_view>

/// Files that are replaced as a whole: whoever reads, or dies in the middle, has the old content or the new one.
///
/// Threads: any.
/// Errors:  `Error::code` is the errno.
namespace rewindle {

/// Where a chain of symbolic links ends, be there something or not. `path` itself when it is no link.
[[nodiscard]] std::filesystem::path behindLinks(const std::filesystem::path& path);
/// A name beside `path` that no other process uses.
[[nodiscard]] std::filesystem::path ownTemporaryFor(const std::filesystem::path& path);
/// Makes the folder and those above it, for the user alone.
[[nodiscard]] Result<void> createPrivateFolders(const std::filesystem::path& folder);

enum class Durability {
    againstCrash,       // survives the end of the process; waits for no disk
    againstPowerFailure // is on the storage, too
};
/// Puts a file with these bytes, for the user alone, in the place of the file `path`, if there is one; a link is
/// replaced, not followed. Gives the new file. Refuses to replace what is neither.
/// Requires: `temporary` lies in the same folder, and nobody else uses it meanwhile.
[[nodiscard]] Result<FileHandle> replaceFile(const std::filesystem::path& path,
                                             const std::filesystem::path& temporary, std::string_view bytes,
                                             Durability durability);
/// Puts the file and its name on the storage, as far as the file system can.
void syncFile(const std::filesystem::path& path);

} // namespace rewindle
