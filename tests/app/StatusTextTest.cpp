#include "app/StatusText.h"

#include <gtest/gtest.h>

#include <limits>

namespace rewindle::test {
namespace {

CaptureStatus capturing() {
    CaptureStatus status;
    status.running = true;
    status.deviceUID = "alsa_output.pci";
    status.deviceDescription = "Speakers";
    status.durationSeconds = 300;
    status.retainedSeconds = 12.25;
    status.totalFrames = 5'000'000'000;
    status.gainDB = -6;
    status.displayDB = {-12.34F, -48};
    status.holdDB = {3, -80};
    status.troubles = {.gaps = 1, .gapFrames = 72'000, .overruns = 2, .overrunFrames = 480};
    return status;
}

TEST(StatusTextTest, TellsPeopleWhatIsCapturedAndWhatIsNot) {
    EXPECT_EQ(statusText(capturing()), "Capturing Speakers\n"
                                       "Only what goes to the default output is captured.\n"
                                       "Holds    12.2 s of at most 300 s\n"
                                       "Level    left -12.3 dB (peak +3.0 dB), right -inf dB (peak -inf dB)\n"
                                       "Gain     -6.0 dB\n"
                                       "Trouble  1 gap (1.5 s), 2 overruns (0.0 s)\n");
}

TEST(StatusTextTest, FirstLineTellsTheStateAndTheLastTheError) {
    auto status = capturing();
    status.frozen = true;
    status.deviceDescription.clear();
    EXPECT_TRUE(statusText(status).starts_with("Frozen, nothing new is kept; output: alsa_output.pci\n"));

    status.access = AudioCaptureAccessState::firstRun;
    EXPECT_TRUE(statusText(status).starts_with(
        "Not capturing: audio access is not granted; allow it with: rewindle grant\n"));

    status = {};
    status.lastError = "Failed to start.";
    const auto text = statusText(status);
    EXPECT_TRUE(text.starts_with("Not capturing: waiting for an output\n")) << text;
    EXPECT_TRUE(text.ends_with("\nError    Failed to start.\n")) << text;
}

TEST(StatusTextTest, NamesOfDevicesNeitherBreakLinesNorCommandTheTerminal) {
    auto status = capturing();
    status.deviceDescription = "A\nB\x1b[2J\x7f";
    EXPECT_TRUE(statusText(status).starts_with("Capturing A?B?[2J?\n"));
}

TEST(StatusTextTest, GivesProgramsEveryFieldUnderItsOwnKey) {
    EXPECT_EQ(statusJson(capturing()),
              R"({"running": true, "frozen": false, "captured_outputs": "default", "device_uid": "alsa_output.pci", )"
              R"("device_description": "Speakers", "duration_seconds": 300, "retained_seconds": 12.250, )"
              R"("total_frames": 5000000000, "gain_db": -6.000, "left_display_db": -12.340, )"
              R"("right_display_db": -48.000, "left_hold_db": 3.000, "right_hold_db": -80.000, "gaps": 1, )"
              R"("gap_frames": 72000, "overruns": 2, "overrun_frames": 480, "access": "granted", "last_error": ""})"
              "\n");
}

TEST(StatusTextTest, JsonStaysValidWhateverNamesAndLevelsAre) {
    auto status = capturing();
    status.deviceDescription = "\"Ü\\ber\"\tHDMI\x01";
    status.displayDB[0] = std::numeric_limits<float>::quiet_NaN();
    status.displayDB[1] = -std::numeric_limits<float>::infinity();
    const auto json = statusJson(status);
    EXPECT_NE(json.find(R"("device_description": "\"Ü\\ber\"\u0009HDMI\u0001")"), json.npos) << json;
    EXPECT_NE(json.find(R"("left_display_db": null, "right_display_db": null)"), json.npos) << json;
}

} // namespace
} // namespace rewindle::test
