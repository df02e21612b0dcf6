#pragma once

#include <optional>
#include <string>

namespace rewindle {

/// What it takes to find out about the computer's GPU without risk to this process.
///
/// Threads: interface thread.
class GpuProbeHost {
public:
    virtual ~GpuProbeHost() = default;
    /// A short text without '|' that changes when the drivers, the display, or what chooses between drivers change.
    /// Loads no driver.
    [[nodiscard]] virtual std::string driverFingerprint() = 0;
    /// Has a short-lived copy of this program make a context, and waits a bounded time for the line that it prints.
    /// None when it crashed, hung or could not be started.
    [[nodiscard]] virtual std::optional<std::string> runProbeChild() = 0;
};

} // namespace rewindle
