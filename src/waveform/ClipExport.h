#pragma once

#include "base/Clock.h"
#include "base/Result.h"
#include "platform/AudioFile.h"
#include "platform/FileSystem.h"
#include "waveform/WaveformExportError.h"

#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace rewindle {

/// What clips are written with. Everything outlives the calls.
struct ClipExportServices {
    FileSystem& files;
    AudioFileWriter& writer;
    const Clock& clock;
    AudioFileWriter::Progress progress = {}; // told on the thread that writes
};

/// Writes both channels, up to the length of the shorter one, as a WAV file of 32-bit float samples at 48,000
/// Hz, whatever the rate of the device was. The file is there whole under its name or not at all, an existing
/// one is never replaced, and nothing else is left behind after a failure.
///
/// Threads: any (the export thread); takes as long as the storage does.
[[nodiscard]] Result<void, WaveformExportError> writeClip(std::span<const float> left, std::span<const float> right,
                                                          const std::filesystem::path& location,
                                                          const ClipExportServices& services);

/// "rewindle-1731684000123.wav": the prefix and the time in milliseconds since 1970-01-01 UTC.
[[nodiscard]] std::string makeClipFilename(std::string_view prefix, const Clock& clock);

/// The first name not taken in the folder: `fileName` itself, then "name (2).wav", "name (3).wav" and so on.
[[nodiscard]] std::filesystem::path uniqueClipLocation(const std::filesystem::path& folder,
                                                       const std::filesystem::path& fileName,
                                                       const FileSystem& files);

/// Writes a clip as `writeClip` does, under a new name in `folder`, and returns where it is. Makes the folder
/// when only it is missing; the folders above it are made only for the default folder, where nobody mistyped
/// anything.
///
/// Threads: any, several at once.
[[nodiscard]] Result<std::filesystem::path, WaveformExportError>
exportClip(std::span<const float> left, std::span<const float> right, const std::filesystem::path& folder,
           std::string_view prefix, const ClipExportServices& services);

} // namespace rewindle
