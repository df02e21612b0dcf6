#pragma once

#include "base/ImagePixels.h"

#include <filesystem>

namespace rewindle {

/// Writes pictures to files.
///
/// Threads: any.
class ImageWriter {
public:
    virtual ~ImageWriter() = default;
    /// Writes a PNG file in place of what was there. False when it could not be written.
    virtual bool writePng(const std::filesystem::path& path, const ImagePixels& image) = 0;
};

} // namespace rewindle
