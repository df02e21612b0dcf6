#include "program/Messages.h"

#include "app/StatusText.h"

#include <cstdio>

namespace rewindle {

int fail(ExitCode code, std::string_view message) {
    const auto line = "rewindle: " + oneLine(message) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    return static_cast<int>(code);
}

int print(std::string_view text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    return written ? static_cast<int>(ExitCode::done) : fail(ExitCode::failed, "could not write to standard output");
}

} // namespace rewindle
