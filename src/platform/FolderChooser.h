#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace rewindle {

/// A modal question for one folder, in which new folders can be made.
///
/// Threads: interface thread; returns when the user has answered.
class FolderChooser {
public:
    struct Question {
        std::string prompt; // on the button that confirms
        std::string message;
        std::filesystem::path startFolder;
        friend bool operator==(const Question&, const Question&) = default;
    };
    virtual ~FolderChooser() = default;
    /// None when the user cancelled.
    [[nodiscard]] virtual std::optional<std::filesystem::path> chooseFolder(const Question& question) = 0;
};

} // namespace rewindle
