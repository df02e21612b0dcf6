#pragma once

#include <string_view>

namespace rewindle {

/// A colour in sRGB, each component 0 ... 1, not premultiplied.
struct Color {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
    friend bool operator==(const Color&, const Color&) = default;

    [[nodiscard]] constexpr Color withAlpha(double value) const { return {red, green, blue, value}; }
    /// `fraction` of the way from here to `other`, in each component, alpha included.
    [[nodiscard]] Color blended(double fraction, const Color& other) const;
};

/// Reads "#rrggbb" with the given alpha, or "#rrggbbaa"; the sign and white space around are optional. What is no
/// hexadecimal number counts as 0.
[[nodiscard]] Color colorFromHex(std::string_view text, double alpha = 1);

} // namespace rewindle
