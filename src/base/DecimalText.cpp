#include "base/DecimalText.h"

#include <array>
#include <charconv>

namespace rewindle {

std::string decimalText(double value, int decimals) {
    std::array<char, 400> text; // the longest double has 309 digits before the point
    const auto end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals).ptr;
    return {text.data(), end};
}

std::string signedDecimalText(double value, int decimals) {
    return (value >= 0 ? "+" : "") + decimalText(value, decimals);
}

} // namespace rewindle
