#pragma once

#include "base/Result.h"

#include <filesystem>
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

    /// Writes a whole WAV file, with all its bytes on the storage before it returns. Fails when `path`
    /// exists. After an error a part of the file may be left. Requires: both channels of the same length.
    virtual Result<void> write(const std::filesystem::path& path, AudioFileFormat format, std::span<const float> left,
                               std::span<const float> right) = 0;
};

} // namespace rewindle
