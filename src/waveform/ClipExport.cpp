#include "waveform/ClipExport.h"

#include "base/SystemError.h"
#include "settings/ExportDirectory.h"

#include <algorithm>
#include <array>
#include <cassert>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <random>

namespace rewindle {
namespace {

using Path = std::filesystem::path;
using Case = WaveformExportError::Case;

/// A clip under a hidden name in its folder. Gone at the end, unless it got its final name.
class UnpublishedClip {
public:
    UnpublishedClip(FileSystem& files, const Path& folder, const Path& fileName)
        : files_(files), path_(folder / hiddenName(fileName)) {}
    UnpublishedClip(const UnpublishedClip&) = delete;
    UnpublishedClip& operator=(const UnpublishedClip&) = delete;
    ~UnpublishedClip() {
        if (!published_) (void)files_.remove(path_); // nobody is left who could do more about it
    }

    [[nodiscard]] Result<void, WaveformExportError> write(const ClipExportServices& services,
                                                          std::span<const float> left, std::span<const float> right) {
        const auto frames = std::min(left.size(), right.size());
        if (frames == 0) return WaveformExportError(Case::emptySelection);
        assert(frames <= std::numeric_limits<std::uint32_t>::max()); // the retained audio is never that long
        const auto written = services.writer.write(path_, AudioFileFormat{}, left.first(frames), right.first(frames),
                                                   services.progress);
        if (!written) return exportError(written.error());
        return {};
    }
    /// Fails with EEXIST, and can be tried again, when the name is taken.
    [[nodiscard]] Result<void> publish(const Path& location) {
        auto renamed = files_.renameWithoutReplacing(path_, location);
        published_ = renamed.ok();
        return renamed;
    }

private:
    /// Random, because other threads and programs may be writing a clip of the same name.
    static std::string hiddenName(const Path& fileName) {
        std::random_device random;
        std::array<char, 24> suffix{};
        std::snprintf(suffix.data(), suffix.size(), ".%08x%08x.part", random(), random());
        return std::string(".").append(fileName.string()).append(suffix.data());
    }
    static WaveformExportError exportError(const Error& error) {
        if (error.code == static_cast<int>(std::errc::not_supported)) return {Case::formatUnavailable};
        if (error.code == static_cast<int>(std::errc::not_enough_memory)) return {Case::bufferAllocationFailed};
        return WaveformExportError::writeFailed(error);
    }

    FileSystem& files_;
    Path path_;
    bool published_ = false;
};

/// `fileName` for the first, "name (2).wav" for the second of that name, and so on.
Path numberedName(const Path& fileName, std::uint64_t number) {
    if (number < 2) return fileName;
    return fileName.stem().string() + " (" + std::to_string(number) + ")" + fileName.extension().string();
}

std::uint64_t firstFreeNumber(const Path& folder, const Path& fileName, std::uint64_t from, const FileSystem& files) {
    while (files.exists(folder / numberedName(fileName, from)))
        ++from;
    return from;
}

Result<void> prepareFolder(const Path& folder, FileSystem& files) {
    ExportDirectory directory(files);
    if (files.isDirectory(folder)) return {};
    const bool isDefault = folder == directory.defaultURL();
    if (!isDefault && !files.exists(folder.parent_path())) return systemError(std::errc::no_such_file_or_directory);
    return directory.createIfNeeded(folder);
}

/// Tries one free name after the other: another program may take each of them first.
Result<Path, WaveformExportError> publishUnderFreeName(UnpublishedClip& clip, const Path& folder,
                                                       const Path& fileName, const FileSystem& files) {
    for (std::uint64_t number = 1;; ++number) {
        number = firstFreeNumber(folder, fileName, number, files);
        const Path location = folder / numberedName(fileName, number);
        const auto published = clip.publish(location);
        if (published) return location;
        if (published.error().code != static_cast<int>(std::errc::file_exists)) {
            return WaveformExportError::writeFailed(published.error());
        }
    }
}

} // namespace

Result<void, WaveformExportError> writeClip(std::span<const float> left, std::span<const float> right,
                                            const Path& location, const ClipExportServices& services) {
    UnpublishedClip clip(services.files, location.parent_path(), location.filename());
    if (const auto written = clip.write(services, left, right); !written) return written.error();
    if (const auto published = clip.publish(location); !published) {
        return WaveformExportError::writeFailed(published.error());
    }
    return {};
}

std::string makeClipFilename(std::string_view prefix, const Clock& clock) {
    return std::string(prefix) + "-" + std::to_string(clock.wallTime().count()) + ".wav";
}

Path uniqueClipLocation(const Path& folder, const Path& fileName, const FileSystem& files) {
    return folder / numberedName(fileName, firstFreeNumber(folder, fileName, 1, files));
}

Result<Path, WaveformExportError> exportClip(std::span<const float> left, std::span<const float> right,
                                             const Path& requestedFolder, std::string_view prefix,
                                             const ClipExportServices& services) {
    const Path folder = withoutTrailingSlash(requestedFolder);
    if (std::min(left.size(), right.size()) == 0) return WaveformExportError(Case::emptySelection);
    if (const auto prepared = prepareFolder(folder, services.files); !prepared) {
        return WaveformExportError::writeFailed(prepared.error());
    }
    const Path fileName = makeClipFilename(prefix, services.clock);
    UnpublishedClip clip(services.files, folder, fileName);
    if (const auto written = clip.write(services, left, right); !written) return written.error();
    return publishUnderFreeName(clip, folder, fileName, services.files);
}

} // namespace rewindle
