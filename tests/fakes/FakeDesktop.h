#pragma once

#include "platform/FolderChooser.h"
#include "platform/LoginItemService.h"
#include "platform/Workspace.h"

#include <set>
#include <string>
#include <vector>

namespace rewindle::test {

/// A desktop that starts the program at login, or refuses to.
class FakeLoginItemService final : public LoginItemService {
public:
    Result<void> registerMainApp() override { return change(true); }
    Result<void> unregisterMainApp() override { return change(false); }

    bool registered = false;
    std::string problem; // why the next changes fail; empty: they succeed

private:
    Result<void> change(bool to) {
        if (!problem.empty()) return Error{13, problem};
        registered = to;
        return {};
    }
};

/// A user who picks `answer`.
class FakeFolderChooser final : public FolderChooser {
public:
    [[nodiscard]] std::optional<std::filesystem::path> chooseFolder(const Question& question) override {
        questions.push_back(question);
        return answer;
    }

    std::optional<std::filesystem::path> answer; // none: cancelled
    std::vector<Question> questions;
};

/// A desktop that opens every address, except those in `unparsable` and `refused`.
class FakeWorkspace final : public Workspace {
public:
    bool open(const std::string& url) override {
        if (!canParse(url) || refused.contains(url)) return false;
        opened.push_back(url);
        return true;
    }
    [[nodiscard]] bool canParse(const std::string& url) const override { return !unparsable.contains(url); }
    bool openFolder(const std::filesystem::path& folder) override {
        folders.push_back(folder);
        return true;
    }
    bool revealFile(const std::filesystem::path& file) override {
        files.push_back(file);
        return true;
    }

    std::set<std::string> unparsable;
    std::set<std::string> refused;
    std::vector<std::string> opened;
    std::vector<std::filesystem::path> folders;
    std::vector<std::filesystem::path> files;
};

} // namespace rewindle::test
