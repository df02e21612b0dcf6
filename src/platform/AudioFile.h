#pragma once

#include "base/Result.h"

#include <filesystem>
#include <functional>
#include <span>

namespace rewindle {

/// How samples are stored: always 32-bit float, two channels.
struct AudioFileFormat {
    int sampleRate = 48'000; // frames per second
};

/// Writes audio files.
///
/// Threads: any, one file at a time per call.
/// Errors:  `Error::code` is the errno, `Error::message` the system's text for it. ENOTSUP: the format cannot
///          be written; ENOMEM: no memory to write with.
class AudioFileWriter {
public:
    virtual ~AudioFileWriter() = default;

    /// How much of a file is on the storage, 0 to 1.
    using Progress = std::function<void(double)>;

    /// Writes a whole WAV file, with all its bytes on the storage before it returns. Fails when `path`
    /// exists. After an error a part of the file may be left. Requires: both channels of the same length.
    /// `progress`, when there is one, is called on this thread now and then while a long file is written.
    virtual Result<void> write(const std::filesystem::path& path, AudioFileFormat format, std::span<const float> left,
                               std::span<const float> right, const Progress& progress) = 0;
};

} // namespace rewindle
