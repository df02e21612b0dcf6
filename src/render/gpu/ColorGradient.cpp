#include "render/gpu/ColorGradient.h"

#include <algorithm>

namespace rewindle {

Color ColorGradient::colorAt(double location) const {
    if (stops.empty()) return {.alpha = 0};
    const auto after = std::ranges::find_if(stops, [&](const Stop& stop) { return stop.location > location; });
    if (after == stops.begin()) return after->color;
    const auto before = std::prev(after);
    if (after == stops.end()) return before->color;
    return before->color.blended((location - before->location) / (after->location - before->location), after->color);
}

} // namespace rewindle
