#pragma once

#include "settings/RecordingDuration.h"

#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace rewindle {

// What a person can ask of the program, one type for each command.

/// The application with its window and its place in the status bar.
struct WindowCommand {
    bool hidden = false; // without showing the window at first
    friend bool operator==(const WindowCommand&, const WindowCommand&) = default;
};
/// Capture here, without a window, until a signal comes.
struct HeadlessCommand {
    std::optional<RecordingDuration> duration; // for this run; none: as the settings say
    friend bool operator==(const HeadlessCommand&, const HeadlessCommand&) = default;
};
struct ExportCommand {
    std::optional<double> lastSeconds; // none: everything that is held
    std::filesystem::path folder;      // as typed; empty: the clips folder
    friend bool operator==(const ExportCommand&, const ExportCommand&) = default;
};
struct StatusCommand {
    bool json = false;
    friend bool operator==(const StatusCommand&, const StatusCommand&) = default;
};
struct FreezeCommand {
    bool frozen = true;
    friend bool operator==(const FreezeCommand&, const FreezeCommand&) = default;
};
struct DurationCommand {
    RecordingDuration duration = kDefaultRecordingDuration;
    friend bool operator==(const DurationCommand&, const DurationCommand&) = default;
};
struct GainCommand {
    double gainDB = 0; // any finite number; the running instance clamps it
    friend bool operator==(const GainCommand&, const GainCommand&) = default;
};
struct QuitCommand {
    friend bool operator==(const QuitCommand&, const QuitCommand&) = default;
};
/// Store the user's consent, or its withdrawal, whether or not an instance runs.
struct ConsentCommand {
    bool granted = false;
    friend bool operator==(const ConsentCommand&, const ConsentCommand&) = default;
};
struct HelpCommand {
    friend bool operator==(const HelpCommand&, const HelpCommand&) = default;
};
struct VersionCommand {
    friend bool operator==(const VersionCommand&, const VersionCommand&) = default;
};
/// What was typed makes no sense; `message` is one line that says why.
struct UsageError {
    std::string message;
    friend bool operator==(const UsageError&, const UsageError&) = default;
};

/// A command that is carried out by the instance that runs already.
using ControlCommand =
    std::variant<ExportCommand, StatusCommand, FreezeCommand, DurationCommand, GainCommand, QuitCommand>;
using CommandLine = std::variant<WindowCommand, ControlCommand, HeadlessCommand, ConsentCommand, HelpCommand,
                                 VersionCommand, UsageError>;

/// What the program ends with, whichever command it was.
enum class ExitCode : int { done = 0, failed = 1, usage = 2, noInstance = 3 };

/// The meaning of a command line, without the program's own name.
[[nodiscard]] CommandLine parseCommandLine(std::span<const std::string_view> arguments);
/// What --help prints.
[[nodiscard]] std::string_view helpText();

} // namespace rewindle
