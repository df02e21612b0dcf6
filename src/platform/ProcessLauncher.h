#pragma once

#include "base/Result.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace rewindle {

/// Starts short-lived processes.
///
/// Threads: interface thread; replies come there, never before the call returns.
class ProcessLauncher {
public:
    virtual ~ProcessLauncher() = default;
    /// The running program's own executable file; none when it cannot be found.
    [[nodiscard]] virtual std::optional<std::filesystem::path> executable() const = 0;
    /// Runs a program with one argument to its end and replies with its exit status. An error when it could not be
    /// started, was killed, or took longer than 2 s (then it is killed).
    virtual void run(const std::filesystem::path& program, const std::string& argument,
                     std::function<void(Result<int>)> reply) = 0;
};

} // namespace rewindle
