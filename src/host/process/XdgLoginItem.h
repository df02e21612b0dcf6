#pragma once

#include "platform/LoginItemService.h"

#include <filesystem>
#include <optional>
#include <string>

namespace rewindle {

/// The desktop entry that starts `executable` at login, without a window. Requires: an absolute path.
[[nodiscard]] std::string autostartEntry(const std::filesystem::path& executable);

/// Start at login by a desktop entry in the user's autostart folder. It is written as a whole: what a user, or a
/// desktop's settings, changed in it does not count, the program's own setting does.
///
/// Errors: a copy that runs from the folder it was built in registers nothing.
class XdgLoginItem final : public LoginItemService {
public:
    using Path = std::filesystem::path;
    static constexpr const char* kEntryName = "com.rewindle.Rewindle.desktop";
    /// $XDG_CONFIG_HOME/autostart
    [[nodiscard]] static Path defaultFolder();

    /// `executable` is this program's own; none when it cannot be found.
    XdgLoginItem(const Path& folder, std::optional<Path> executable)
        : entry_(folder / kEntryName), executable_(std::move(executable)) {}

    Result<void> registerMainApp() override;
    Result<void> unregisterMainApp() override;

private:
    const Path entry_;
    const std::optional<Path> executable_;
};

} // namespace rewindle
