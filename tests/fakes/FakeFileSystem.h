#pragma once

#include "base/SystemError.h"
#include "platform/AudioFile.h"
#include "platform/FileSystem.h"

#include <functional>
#include <map>
#include <set>
#include <vector>

namespace rewindle::test {

/// Folders and files in memory, with a user whose music lies in /home/user/Music.
class FakeFileSystem final : public FileSystem {
public:
    struct File {
        std::vector<float> left;
        std::vector<float> right;
    };

    [[nodiscard]] Path musicDirectory() const override { return "/home/user/Music"; }
    [[nodiscard]] bool exists(const Path& path) const override { return isDirectory(path) || files.contains(path); }
    [[nodiscard]] bool isDirectory(const Path& path) const override { return folders.contains(path); }
    [[nodiscard]] bool isWritable(const Path& path) const override {
        return exists(path) && !readOnly.contains(path);
    }
    Result<void> createDirectories(const Path& path) override {
        if (isDirectory(path)) return {};
        if (files.contains(path)) return systemError(std::errc::not_a_directory);
        if (auto above = createDirectories(path.parent_path()); !above) return above;
        if (readOnly.contains(path.parent_path())) return systemError(std::errc::read_only_file_system);
        folders.insert(path);
        return {};
    }
    Result<void> renameWithoutReplacing(const Path& from, const Path& to) override {
        if (beforeRename) beforeRename(to);
        if (exists(to)) return systemError(std::errc::file_exists);
        const auto file = files.extract(from);
        if (file.empty()) return systemError(std::errc::no_such_file_or_directory);
        files[to] = file.mapped();
        return {};
    }
    Result<void> remove(const Path& path) override {
        files.erase(path);
        return {};
    }
    /// Takes a folder away with all that is in it, as another program may do at any time.
    void removeFolder(const Path& folder) {
        folders.erase(folder);
        std::erase_if(files, [&](const auto& entry) { return entry.first.parent_path() == folder; });
    }

    std::set<Path> folders{"/", "/home", "/home/user", "/home/user/Music"};
    std::map<Path, File> files;
    std::set<Path> readOnly;
    std::function<void(const Path& to)> beforeRename; // what another program does just then
};

/// Writes into a fake file system; storage that fails leaves half of the samples, as a real one does.
class FakeAudioFileWriter final : public AudioFileWriter {
public:
    explicit FakeAudioFileWriter(FakeFileSystem& files) : files_(files) {}

    Result<void> write(const std::filesystem::path& path, AudioFileFormat format, std::span<const float> left,
                       std::span<const float> right, const Progress& progress) override {
        if (!files_.isDirectory(path.parent_path())) return systemError(std::errc::no_such_file_or_directory);
        if (files_.readOnly.contains(path.parent_path())) return systemError(std::errc::read_only_file_system);
        if (files_.exists(path)) return systemError(std::errc::file_exists);
        lastFormat = format;
        const std::size_t frames = failure == std::errc{} ? left.size() : left.size() / 2;
        files_.files[path] = {{left.begin(), left.begin() + static_cast<std::ptrdiff_t>(frames)},
                              {right.begin(), right.begin() + static_cast<std::ptrdiff_t>(frames)}};
        if (progress) progress(0.5);
        if (failure != std::errc{}) return systemError(failure);
        return {};
    }

    std::errc failure{}; // how the next writes fail
    AudioFileFormat lastFormat{0};

private:
    FakeFileSystem& files_;
};

} // namespace rewindle::test
