#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace rewindle {

/// Half open: [start, end).
struct IndexRange {
    std::size_t start = 0;
    std::size_t end = 0;
    friend bool operator==(const IndexRange&, const IndexRange&) = default;
};

/// Replaces `runs` by the longest stretches without a not-a-number among the first `count` values, in order. Keeps the
/// memory of `runs`.
void contiguousRuns(std::span<const float> values, std::size_t count, std::vector<IndexRange>& runs);

} // namespace rewindle
