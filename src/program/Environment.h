#pragma once

#include <cstdlib>
#include <string>

namespace rewindle {

/// A variable of the environment that the program was started in; null when it is not set.
inline const char* environmentVariable(const char* name) {
    return std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing here writes the environment
}

/// The same as a text, empty when it is not set.
inline std::string environmentText(const char* name) {
    const char* value = environmentVariable(name);
    return value ? value : "";
}

} // namespace rewindle
