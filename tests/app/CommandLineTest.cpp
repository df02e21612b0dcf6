#include "app/CommandLine.h"

#include <gtest/gtest.h>

#include <vector>

namespace rewindle::test {
namespace {

using Words = std::vector<std::string_view>;

std::string join(const Words& words) {
    std::string text;
    for (const auto word : words)
        text.append(word).append(" ");
    return text;
}

TEST(CommandLineTest, UnderstandsEveryCommandAsPeopleTypeIt) {
    const auto clip = [](std::optional<double> seconds, const char* folder = "") {
        return ControlCommand(ExportCommand{seconds, folder});
    };
    const auto gain = [](double db) { return ControlCommand(GainCommand{db}); };
    const std::pair<Words, CommandLine> cases[] = {
        {{}, WindowCommand{}},
        {{"--hidden"}, WindowCommand{.hidden = true}},
        {{"grant"}, ConsentCommand{.granted = true}},
        {{"revoke"}, ConsentCommand{.granted = false}},
        {{"--headless"}, HeadlessCommand{}},
        {{"--headless", "--duration", "600"}, HeadlessCommand{RecordingDuration::tenMinutes}},
        {{"--duration=45", "--headless"}, HeadlessCommand{RecordingDuration::fortyFiveSeconds}},
        {{"export", "--last", "30"}, clip(30)},
        {{"export", "--last=2.5"}, clip(2.5)},
        {{"export", "--all"}, clip({})},
        {{"export", "--folder", "my clips", "--last", "10"}, clip(10, "my clips")},
        {{"export", "--all", "--folder=--odd"}, clip({}, "--odd")},
        {{"status"}, ControlCommand(StatusCommand{false})},
        {{"status", "--json"}, ControlCommand(StatusCommand{true})},
        {{"freeze"}, ControlCommand(FreezeCommand{true})},
        {{"unfreeze"}, ControlCommand(FreezeCommand{false})},
        {{"duration", "300"}, ControlCommand(DurationCommand{RecordingDuration::fiveMinutes})},
        {{"gain", "-6"}, gain(-6)},
        {{"gain", "+3.5"}, gain(3.5)},
        {{"quit"}, ControlCommand(QuitCommand{})},
        {{"--version"}, VersionCommand{}},
        {{"--help"}, HelpCommand{}},
        {{"export", "--help"}, HelpCommand{}},
    };
    for (const auto& [words, meaning] : cases)
        EXPECT_EQ(parseCommandLine(words), meaning) << join(words);
}

TEST(CommandLineTest, RefusesWhatMakesNoSenseAndNamesTheCulprit) {
    const std::pair<Words, std::string_view> cases[] = {
        {{"--hidden", "now"}, "--hidden"},
        {{"exprot"}, "'exprot'"},
        {{""}, "''"},
        {{"--duration", "300"}, "--duration"},
        {{"--headless", "--duration", "31"}, "'31'"},
        {{"--headless", "export"}, "'export'"},
        {{"export"}, "--last"},
        {{"export", "30"}, "'30'"},
        {{"export", "--last"}, "--last"},
        {{"export", "--last", "--all"}, "'--all'"},
        {{"export", "--last", "0"}, "'0'"},
        {{"export", "--last", " 5"}, "' 5'"},
        {{"export", "--last", "inf"}, "'inf'"},
        {{"export", "--last", "nan"}, "'nan'"},
        {{"export", "--last", "1e999"}, "'1e999'"},
        {{"export", "--lasting", "5"}, "'--lasting'"},
        {{"export", "--last", "5", "--all"}, "not both"},
        {{"export", "--all", "--folder"}, "--folder"},
        {{"export", "--all", "--folder="}, "--folder"},
        {{"status", "--xml"}, "--json"},
        {{"freeze", "now"}, "freeze"},
        {{"duration"}, "600"},
        {{"duration", "300.5"}, "'300.5'"},
        {{"duration", "4294967326"}, "'4294967326'"}, // 30 when cut to 32 bits
        {{"duration", "30", "45"}, "600"},
        {{"gain"}, "decibels"},
        {{"gain", "+-3"}, "'+-3'"},
        {{"gain", "6dB"}, "'6dB'"},
    };
    for (const auto& [words, named] : cases) {
        const auto meaning = parseCommandLine(words);
        const auto* error = std::get_if<UsageError>(&meaning);
        ASSERT_TRUE(error) << join(words);
        EXPECT_NE(error->message.find(named), std::string::npos) << join(words) << "-> " << error->message;
        EXPECT_EQ(error->message.find('\n'), std::string::npos) << join(words);
    }
}

TEST(CommandLineTest, HelpsWithLinesThatFitATerminal) {
    std::string_view rest = helpText();
    while (!rest.empty()) {
        const auto line = rest.substr(0, rest.find('\n'));
        EXPECT_LE(line.size(), 112U) << line;
        rest.remove_prefix(line.size() + 1);
    }
}

} // namespace
} // namespace rewindle::test
