#pragma once

#include "platform/FolderChooser.h"

#include <QWidget>

namespace rewindle {

/// The desktop's own dialog for folders, or Qt's where there is none.
class QtFolderChooser final : public FolderChooser {
public:
    [[nodiscard]] std::optional<std::filesystem::path> chooseFolder(const Question& question) override;
};

} // namespace rewindle
