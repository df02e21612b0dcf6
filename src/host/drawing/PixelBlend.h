#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <span>

namespace rewindle {

// Blending of a colour over pixels as QImage has them premultiplied, four neighbouring ones at once: by vectors, which
// are the processor's own wherever it has such.

/// Two half-words for each pixel.
using FourPixels [[gnu::vector_size(16)]] = std::uint16_t;
using FourWords [[gnu::vector_size(16)]] = std::uint32_t;
using FourInts [[gnu::vector_size(16)]] = std::int32_t;
using FourFloats [[gnu::vector_size(16)]] = float;

/// Of a pixel that is covered whole, in the unit of shares.
constexpr std::uint32_t kFullShare = 256;

template <class Vector, class Element>
Vector loadFour(const Element* from) {
    static_assert(sizeof(Vector) == 4 * sizeof(Element));
    Vector vector;
    std::memcpy(&vector, from, sizeof vector);
    return vector;
}

template <class Vector, class Element>
void storeFour(Element* to, const Vector& vector) {
    static_assert(sizeof(Vector) == 4 * sizeof(Element));
    std::memcpy(to, &vector, sizeof vector);
}

inline FourPixels fourTimes(std::uint32_t pixel) {
    return reinterpret_cast<FourPixels>(FourWords{pixel, pixel, pixel, pixel});
}

/// Each value in both halves of its pixel. Requires: none needs more than 16 bits.
inline FourPixels inBothHalves(FourWords values) {
    return reinterpret_cast<FourPixels>(values | values << 16);
}

/// How much of each pixel is covered, as shares. What lies beyond 0 and 1 counts as those.
inline FourPixels sharesOf(FourFloats covered) {
    constexpr FourFloats kNone{}, kWhole{1, 1, 1, 1};
    covered = covered > kNone ? covered : kNone;
    covered = covered < kWhole ? covered : kWhole;
    const auto shares = __builtin_convertvector(covered * float{kFullShare} + 0.5F, FourInts);
    return inBothHalves(reinterpret_cast<FourWords>(shares));
}

inline FourPixels scaled(FourPixels pixels, FourPixels shares) {
    return ((pixels & 0x00FF) * shares >> 8) | ((pixels >> 8) * shares & 0xFF00);
}

/// A colour over pixels of which it covers these shares.
inline FourPixels blended(FourPixels pixels, FourPixels color, FourPixels shares) {
    const FourPixels source = scaled(color, shares);
    const FourWords alpha = reinterpret_cast<FourWords>(source) >> 24;
    return source + scaled(pixels, inBothHalves(kFullShare - alpha - (alpha >> 7)));
}

/// The same on any number of pixels; the shares are used in turn, from the start again after the last.
template <std::size_t Extent, std::size_t Count>
void blend(std::span<std::uint32_t, Extent> pixels, std::uint32_t color, const FourPixels (&shares)[Count]) {
    const auto colors = fourTimes(color);
    std::size_t i = 0;
    for (; i + 4 <= pixels.size(); i += 4)
        storeFour(&pixels[i], blended(loadFour<FourPixels>(&pixels[i]), colors, shares[i / 4 % Count]));
    if (i == pixels.size()) return;
    std::array<std::uint32_t, 4> rest{};
    std::copy(pixels.begin() + static_cast<std::ptrdiff_t>(i), pixels.end(), rest.begin());
    storeFour(rest.data(), blended(loadFour<FourPixels>(rest.data()), colors, shares[i / 4 % Count]));
    std::copy_n(rest.begin(), pixels.size() - i, &pixels[i]);
}

} // namespace rewindle
