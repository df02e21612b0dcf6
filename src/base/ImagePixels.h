#pragma once

#include <cstddef>
#include <vector>

namespace rewindle {

/// A bitmap.
/// Shape: rows from the top, `width` pixels each without padding; red, green, blue, alpha of 8 bits, premultiplied.
struct ImagePixels {
    int width = 0;
    int height = 0;
    std::vector<std::byte> bytes; // 4 * width * height
};

} // namespace rewindle
