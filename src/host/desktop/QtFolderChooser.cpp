#include "host/desktop/QtFolderChooser.h"

#include <QApplication>
#include <QFileDialog>

namespace rewindle {
namespace {

/// The folder itself or the nearest one above it that exists.
std::filesystem::path existingFolder(std::filesystem::path folder) {
    std::error_code failed; // one that cannot be looked at counts as missing
    while (!std::filesystem::is_directory(folder, failed) && folder.has_relative_path())
        folder = folder.parent_path();
    return folder;
}

} // namespace

std::optional<std::filesystem::path> QtFolderChooser::chooseFolder(const Question& question) {
    QFileDialog dialog(QApplication::activeWindow(),
                       QString::fromStdString(question.message.substr(0, question.message.find_last_not_of('.') + 1)),
                       QString::fromStdString(existingFolder(question.startFolder).native()));
    dialog.setFileMode(QFileDialog::Directory);
    dialog.setOption(QFileDialog::ShowDirsOnly);
    dialog.setLabelText(QFileDialog::Accept, QString::fromStdString(question.prompt));
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return std::nullopt;
    return dialog.selectedFiles().constFirst().toStdString();
}

} // namespace rewindle
