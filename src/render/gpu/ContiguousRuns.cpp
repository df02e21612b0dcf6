#include "render/gpu/ContiguousRuns.h"

#include <algorithm>
#include <cmath>

namespace rewindle {

void contiguousRuns(std::span<const float> values, std::size_t count, std::vector<IndexRange>& runs) {
    runs.clear();
    const auto isGap = [](float value) { return std::isnan(value); };
    const auto first = values.begin();
    const auto last = first + static_cast<std::ptrdiff_t>(std::min(count, values.size()));
    for (auto start = std::find_if_not(first, last, isGap); start != last;) {
        const auto end = std::find_if(start, last, isGap);
        runs.push_back({static_cast<std::size_t>(start - first), static_cast<std::size_t>(end - first)});
        start = std::find_if_not(end, last, isGap);
    }
}

} // namespace rewindle
