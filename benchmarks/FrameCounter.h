#pragma once

#include "DamageReports.h"

#include <utility>
#include <vector>

namespace rewindle::bench {

/// Tells from outside how often another program paints into its window, and how large a piece of it.
///
/// Threads: one.
/// Errors:  throws when the display cannot be reached.
class FrameCounter {
public:
    using PixelSize = std::pair<int, int>;

    explicit FrameCounter(xcb_window_t window);
    /// Of each rectangle that was painted since the last call.
    [[nodiscard]] std::vector<PixelSize> painted() const;
    /// How many rectangles of that size were.
    [[nodiscard]] int count(PixelSize size) const;

private:
    DamageReports reports_;
};

} // namespace rewindle::bench
