#pragma once

#include <string>

namespace rewindle {

/// A freshly drawn random UUID (version 4) in its usual form, in capitals.
[[nodiscard]] std::string makeUuid();

} // namespace rewindle
