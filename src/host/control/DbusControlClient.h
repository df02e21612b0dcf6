#pragma once

#include "app/CommandLine.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <string>

namespace rewindle {

/// What there is to print after a command, and what the program ends with.
struct CommandOutcome {
    ExitCode exitCode = ExitCode::done;
    std::string output; // for standard output, line feed included
    std::string error;  // one line for standard error, without line feed; empty when all went well
};

/// Has commands carried out by the instance that runs on the same bus. Never starts one.
///
/// Threads: interface thread, whose event loop runs while the answer is awaited.
class DbusControlClient {
public:
    explicit DbusControlClient(QDBusConnection bus) : bus_(std::move(bus)) {}

    /// Waits for an export or a change of duration as long as it takes; ends when the instance
    /// vanishes meanwhile.
    [[nodiscard]] CommandOutcome run(const ControlCommand& command) const;

private:
    [[nodiscard]] CommandOutcome carryOut(const ExportCommand& command) const;
    [[nodiscard]] CommandOutcome carryOut(const StatusCommand& command) const;
    [[nodiscard]] CommandOutcome carryOut(const FreezeCommand& command) const;
    [[nodiscard]] CommandOutcome carryOut(const DurationCommand& command) const;
    [[nodiscard]] CommandOutcome carryOut(const GainCommand& command) const;
    [[nodiscard]] CommandOutcome carryOut(const QuitCommand& command) const;
    [[nodiscard]] QDBusMessage call(const char* method, const QVariantList& arguments, int timeoutMs) const;

    QDBusConnection bus_;
};

} // namespace rewindle
