#pragma once

#include "platform/AudioFile.h"

namespace rewindle {

/// Writes WAV files with libsndfile.
class SndfileWriter final : public AudioFileWriter {
public:
    Result<void> write(const std::filesystem::path& path, AudioFileFormat format, std::span<const float> left,
                       std::span<const float> right, const Progress& progress) override;
};

} // namespace rewindle
