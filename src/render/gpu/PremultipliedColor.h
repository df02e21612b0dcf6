#pragma once

#include "base/Color.h"

#include <array>

namespace rewindle {

using PremultipliedColor = std::array<float, 4>; // red, green, blue, alpha

/// Colours enter the GPU in this form.
[[nodiscard]] inline PremultipliedColor premultiplied(const Color& color) {
    return {static_cast<float>(color.red * color.alpha), static_cast<float>(color.green * color.alpha),
            static_cast<float>(color.blue * color.alpha), static_cast<float>(color.alpha)};
}

} // namespace rewindle
