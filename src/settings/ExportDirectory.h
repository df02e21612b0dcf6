#pragma once

#include "base/Result.h"
#include "platform/FileSystem.h"

#include <filesystem>
#include <optional>
#include <string>

namespace rewindle {

/// The rules for the folder into which clips go: which one it is, whether it can be used, and its creation.
///
/// Threads: any.
class ExportDirectory {
public:
    using Path = std::filesystem::path;
    /// Requires: `files` outlives this.
    explicit ExportDirectory(FileSystem& files) : files_(files) {}

    /// "rewindle" in the folder in which the user's music lies.
    [[nodiscard]] Path defaultURL() const;
    /// The custom folder while it, or at least the folder above it, is there; otherwise the default folder.
    [[nodiscard]] Path resolvedURL(const std::optional<std::string>& customPath) const;
    /// Whether clips could go there: a folder that can be written to, or one that can be made in its parent.
    [[nodiscard]] bool isWritableDirectoryCandidate(const Path& folder) const;
    /// Makes the folder and those above it. Fails with the system's error.
    Result<void> createIfNeeded(const Path& folder);

private:
    FileSystem& files_;
};

/// `path` without the slashes at its end, so that its parent is the folder above it.
[[nodiscard]] std::filesystem::path withoutTrailingSlash(const std::filesystem::path& path);

} // namespace rewindle
