#pragma once

#include "app/CommandLine.h"

#include <string_view>

namespace rewindle {

// What the program says on its standard streams, and the exit status that goes with it.

inline constexpr std::string_view kAlreadyRunning = "another instance is running already";

inline constexpr std::string_view kNoAnswer = "the running instance does not answer";

/// One line on standard error.
[[nodiscard]] int fail(ExitCode code, std::string_view message);
/// On standard output. A full disk behind a redirection shows itself only when the text is flushed.
[[nodiscard]] int print(std::string_view text);

} // namespace rewindle
