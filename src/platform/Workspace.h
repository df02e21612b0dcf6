#pragma once

#include <filesystem>
#include <string>

namespace rewindle {

/// The desktop around the program, which opens things in other programs.
///
/// Threads: interface thread.
class Workspace {
public:
    virtual ~Workspace() = default;
    /// Whether anybody accepted the address. One that cannot be parsed is not accepted.
    virtual bool open(const std::string& url) = 0;
    /// Whether the address makes sense at all.
    [[nodiscard]] virtual bool canParse(const std::string& url) const = 0;
    /// Shows what is in a folder.
    virtual bool openFolder(const std::filesystem::path& folder) = 0;
    /// Shows a file, selected, in its folder where the file manager can do that.
    virtual bool revealFile(const std::filesystem::path& file) = 0;
};

} // namespace rewindle
