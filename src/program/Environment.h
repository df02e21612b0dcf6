#pragma once

#include <cstdlib>

namespace rewindle {

/// A variable of the environment that the program was started in; null when it is not set.
inline const char* environmentVariable(const char* name) {
    return std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing here writes the environment
}

} // namespace rewindle
