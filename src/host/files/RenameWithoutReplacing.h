#pragma once

#include <filesystem>

/// Ways to give a file a new name in its folder that is taken by nobody. Each returns 0 or an errno: EEXIST
/// when the name is taken, in which case nothing has changed.
///
/// Threads: any.
namespace rewindle {

/// In one step. EINVAL, ENOSYS or ENOTSUP where the file system cannot.
[[nodiscard]] int renameInOneStep(const std::filesystem::path& from, const std::filesystem::path& to);
/// By a second name for the same file. EPERM, ENOSYS or ENOTSUP where the file system knows none.
[[nodiscard]] int renameByLinking(const std::filesystem::path& from, const std::filesystem::path& to);
/// By an empty file that takes the name first. Works everywhere; a crash between the two steps leaves the
/// empty file.
[[nodiscard]] int renameByReserving(const std::filesystem::path& from, const std::filesystem::path& to);

/// The first of these that the file system can do.
[[nodiscard]] int renameWithoutReplacing(const std::filesystem::path& from, const std::filesystem::path& to);

} // namespace rewindle
