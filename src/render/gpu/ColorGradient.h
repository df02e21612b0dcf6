#pragma once

#include "base/Color.h"

#include <vector>

namespace rewindle {

/// Colours along a line.
struct ColorGradient {
    struct Stop {
        double location = 0; // 0 ... 1
        Color color;
    };
    std::vector<Stop> stops; // by rising location

    /// Before the first stop and after the last one their colours go on. Clear without stops.
    [[nodiscard]] Color colorAt(double location) const;
};

} // namespace rewindle
