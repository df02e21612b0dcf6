#pragma once

#include <string>

namespace rewindle {

/// A number with a point and that many decimals, whatever the user's language: "0.0", "-6.0".
[[nodiscard]] std::string decimalText(double value, int decimals);

/// The same, with a plus sign before what is not negative: "+0.0", "-6.0".
[[nodiscard]] std::string signedDecimalText(double value, int decimals);

} // namespace rewindle
