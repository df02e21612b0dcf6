#include "app/CommandLine.h"

#include "app/CaptureControl.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace rewindle {
namespace {

using Arguments = std::span<const std::string_view>;

constexpr std::string_view kDurations = "one of 30, 45, 60, 120, 180, 300 or 600 seconds";

std::string quoted(std::string_view text) {
    return "'" + std::string(text) + "'";
}

UsageError usage(std::string message) {
    return UsageError{std::move(message)};
}

/// Made in its place, because a move of the inner variant makes g++ 12 warn of what it never reads.
template <class Command>
CommandLine control(Command command) {
    return CommandLine(std::in_place_type<ControlCommand>, std::move(command));
}

/// The number that `text` is from its first to its last character, whatever the locale; a sign is allowed.
template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
    if (text.starts_with("+") && !text.starts_with("+-")) text.remove_prefix(1); // from_chars knows only the minus
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return value;
}

std::optional<double> parseFinite(std::string_view text) {
    const auto value = parseNumber<double>(text);
    return value && std::isfinite(*value) ? value : std::nullopt;
}

/// Takes one command's arguments apart, option by option.
class OptionReader {
public:
    explicit OptionReader(Arguments arguments) : rest_(arguments) {}

    [[nodiscard]] bool atEnd() const { return rest_.empty(); }
    [[nodiscard]] std::string_view current() const { return rest_.front(); }

    /// True when the next argument is this option, which is then taken.
    bool takeFlag(std::string_view name) {
        if (current() != name) return false;
        rest_ = rest_.subspan(1);
        return true;
    }
    /// True when the next argument is this option; takes it with its value, "--name VALUE" or "--name=VALUE".
    /// A value that is not there is left empty.
    bool takeValue(std::string_view name, std::optional<std::string_view>& value) {
        if (current().starts_with(name) && current().substr(name.size()).starts_with("=")) {
            value = current().substr(name.size() + 1);
        } else if (current() == name) {
            value = rest_.size() > 1 ? rest_[1] : std::string_view();
            if (rest_.size() > 1) rest_ = rest_.subspan(1);
        } else {
            return false;
        }
        rest_ = rest_.subspan(1);
        return true;
    }

private:
    Arguments rest_;
};

CommandLine makeExport(std::optional<std::string_view> last, bool all, std::optional<std::string_view> folder) {
    if (last && all) return usage("export takes --last SECONDS or --all, not both");
    if (!last && !all) return usage("export needs --last SECONDS or --all");
    if (folder && folder->empty()) return usage("--folder needs a folder");
    ExportCommand command;
    if (folder) command.folder = *folder;
    if (last) {
        command.lastSeconds = parseFinite(*last);
        if (!command.lastSeconds || *command.lastSeconds < kShortestClipSeconds) {
            return usage("--last needs a number of seconds, at least 0.01, not " + quoted(*last));
        }
    }
    return control(std::move(command));
}

CommandLine parseExport(Arguments arguments) {
    std::optional<std::string_view> last;
    std::optional<std::string_view> folder;
    bool all = false;
    for (OptionReader reader(arguments); !reader.atEnd();) {
        if (reader.takeValue("--last", last) || reader.takeValue("--folder", folder)) continue;
        if (!reader.takeFlag("--all")) return usage("export does not know " + quoted(reader.current()));
        all = true;
    }
    return makeExport(last, all, folder);
}

CommandLine parseStatus(Arguments arguments) {
    if (arguments.empty()) return control(StatusCommand{});
    if (arguments.size() == 1 && arguments[0] == "--json") return control(StatusCommand{.json = true});
    return usage("status takes --json or nothing");
}

std::optional<RecordingDuration> parseDurationValue(std::string_view text) {
    const auto value = parseNumber<int>(text);
    return value ? recordingDurationFromSeconds(*value) : std::nullopt;
}

CommandLine parseDuration(Arguments arguments) {
    if (arguments.size() != 1) return usage("duration needs " + std::string(kDurations));
    const auto duration = parseDurationValue(arguments[0]);
    if (!duration) return usage("duration needs " + std::string(kDurations) + ", not " + quoted(arguments[0]));
    return control(DurationCommand{*duration});
}

CommandLine parseGain(Arguments arguments) {
    // A negative number looks like an option and is none.
    if (arguments.size() != 1) return usage("gain needs a number of decibels, -20 to 20");
    const auto gainDB = parseFinite(arguments[0]);
    if (!gainDB) return usage("gain needs a number of decibels, -20 to 20, not " + quoted(arguments[0]));
    return control(GainCommand{*gainDB});
}

CommandLine parseHeadless(Arguments arguments) {
    HeadlessCommand command;
    std::optional<std::string_view> duration;
    for (OptionReader reader(arguments); !reader.atEnd();) {
        if (reader.takeFlag("--headless") || reader.takeValue("--duration", duration)) continue;
        return usage("--headless does not know " + quoted(reader.current()));
    }
    if (!duration) return command;
    const auto parsed = parseDurationValue(*duration);
    if (!parsed) return usage("--duration needs " + std::string(kDurations) + ", not " + quoted(*duration));
    command.duration = parsed;
    return command;
}

template <class Command>
CommandLine parsePlain(std::string_view name, Arguments arguments, Command command) {
    if (!arguments.empty()) return usage(std::string(name) + " takes no arguments");
    return control(command);
}

} // namespace

CommandLine parseCommandLine(std::span<const std::string_view> arguments) {
    if (arguments.empty()) return WindowCommand{};
    const auto asksFor = [&](std::string_view option) {
        return std::ranges::find(arguments, option) != arguments.end();
    };
    if (asksFor("--help") || arguments[0] == "-h" || arguments[0] == "help") return HelpCommand{};
    if (arguments[0] == "--version") return VersionCommand{};
    if (asksFor("--headless")) return parseHeadless(arguments);
    if (arguments[0] == "--hidden") {
        return arguments.size() == 1 ? CommandLine(WindowCommand{.hidden = true}) : usage("--hidden stands alone");
    }

    const auto command = arguments[0];
    const auto rest = arguments.subspan(1);
    if (command == "export") return parseExport(rest);
    if (command == "status") return parseStatus(rest);
    if (command == "freeze") return parsePlain(command, rest, FreezeCommand{true});
    if (command == "unfreeze") return parsePlain(command, rest, FreezeCommand{false});
    if (command == "duration") return parseDuration(rest);
    if (command == "gain") return parseGain(rest);
    if (command == "grant" || command == "revoke") {
        return rest.empty() ? CommandLine(ConsentCommand{command == "grant"})
                            : usage(std::string(command) + " takes no arguments");
    }
    if (command == "quit") return parsePlain(command, rest, QuitCommand{});
    return usage("there is no command " + quoted(command) + ": try --help");
}

std::string_view helpText() {
    return R"(rewindle keeps the last minutes of what this computer plays, and saves them as a clip when you ask.

Usage:
  rewindle [--hidden]                        open the window | start without showing it
  rewindle --headless [--duration SECONDS]   capture without a window until interrupted (Ctrl-C) or told to
                                             quit; the duration counts for this run
  rewindle grant | revoke                    allow it to hear what this computer plays | forbid it again

While one is running, from anywhere in the same session:
  rewindle export --last SECONDS [--folder DIR]   save the newest seconds; prints the clip's path
  rewindle export --all [--folder DIR]            save everything that is held
  rewindle status [--json]                        say what it does
  rewindle freeze | unfreeze                      hold what is there and take nothing new | go on
  rewindle duration SECONDS                       keep 30, 45, 60, 120, 180, 300 or 600 seconds
  rewindle gain DB                                capture louder or softer, -20 to 20 decibels
  rewindle quit                                   end it; what was not saved is gone

  rewindle --help | --version

Captured is what goes to the default output. Clips are saved in the folder 'rewindle' of your music folder
unless the settings or --folder say otherwise. Ends with 0 when done, 1 when it failed, 2 when the command makes
no sense, 3 when none is running.
)";
}

} // namespace rewindle
