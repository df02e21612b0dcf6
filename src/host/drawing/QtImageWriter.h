#pragma once

#include "platform/ImageWriter.h"

namespace rewindle {

/// Writes PNG files by Qt. A reader sees the old file or the new one, never half of one.
class QtImageWriter final : public ImageWriter {
public:
    bool writePng(const std::filesystem::path& path, const ImagePixels& image) override;
};

} // namespace rewindle
