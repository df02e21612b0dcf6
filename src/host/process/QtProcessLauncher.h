#pragma once

#include "platform/ProcessLauncher.h"

#include <QObject>

namespace rewindle {

/// Starts processes by Qt. What they print to standard output is thrown away.
///
/// Lifecycle: processes that still run at its end are killed, without a reply.
class QtProcessLauncher final : public ProcessLauncher {
public:
    /// When the file was replaced since the program started, as a package upgrade does, the new one.
    [[nodiscard]] std::optional<std::filesystem::path> executable() const override;
    void run(const std::filesystem::path& program, const std::string& argument,
             std::function<void(Result<int>)> reply) override;

private:
    QObject context_; // the processes are its children
};

/// The file that the target of a /proc/PID/exe link means: itself, or the one that took the place of a deleted one.
[[nodiscard]] std::optional<std::filesystem::path> executableBehind(const std::filesystem::path& linkTarget);

} // namespace rewindle
