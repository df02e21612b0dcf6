#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <experimental/simd>
#include <vector>

namespace rewindle::bench {

/// Reads every value once, as fast as the vector unit takes them.
inline float linearRead(const std::vector<float>& values) {
    namespace simd = std::experimental;
    using Floats = simd::native_simd<float>;
    std::array<Floats, 4> largest{};
    std::size_t i = 0;
    for (; i + 4 * Floats::size() <= values.size(); i += 4 * Floats::size()) {
        for (std::size_t k = 0; k < 4; ++k) {
            const Floats some(values.data() + i + k * Floats::size(), simd::element_aligned);
            largest[k] = simd::max(some, largest[k]);
        }
    }
    float result = simd::hmax(simd::max(simd::max(largest[0], largest[1]), simd::max(largest[2], largest[3])));
    for (; i < values.size(); ++i)
        result = std::max(result, values[i]);
    return result;
}

} // namespace rewindle::bench
