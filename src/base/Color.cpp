#include "base/Color.h"

#include <charconv>
#include <cstdint>

namespace rewindle {
namespace {

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view kWhiteSpace = " \t\n\v\f\r";
    const auto first = text.find_first_not_of(kWhiteSpace);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

std::uint32_t hexNumber(std::string_view digits) {
    std::uint32_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number, 16);
    return error == std::errc{} && stop == end ? number : 0;
}

double component(std::uint32_t number, int lowestBit) {
    return static_cast<double>(number >> lowestBit & 0xFFU) / 255.0;
}

} // namespace

Color Color::blended(double fraction, const Color& other) const {
    const auto mix = [fraction](double from, double to) { return (1 - fraction) * from + fraction * to; };
    return {mix(red, other.red), mix(green, other.green), mix(blue, other.blue), mix(alpha, other.alpha)};
}

Color colorFromHex(std::string_view text, double alpha) {
    auto digits = trimmed(text);
    if (digits.starts_with('#')) digits.remove_prefix(1);
    const auto number = hexNumber(digits);
    if (digits.size() == 8) {
        return {component(number, 24), component(number, 16), component(number, 8), component(number, 0)};
    }
    return {component(number, 16), component(number, 8), component(number, 0), alpha};
}

} // namespace rewindle
