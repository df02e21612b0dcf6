// The windows on a Wayland desktop, which has frames, a mouse and a keyboard of its own kind.

#include "program/LiveWaveform.h"

#include <algorithm>
#include <sstream>

namespace rewindle::test {
namespace {

constexpr double kWatchedMs = 2'000;

class OnWayland : public LiveWaveform {
protected:
    struct Watched {
        std::ptrdiff_t ticks = 0, redraws = 0;
    };

    OnWayland() : LiveWaveform({.wayland = true}) {}

    /// Watches it until its log has gone on for two seconds.
    Watched watch() {
        const auto before = clockRows();
        std::vector<ClockRow> rows;
        EXPECT_TRUE(
            eventually([&] { return (rows = clockRows()).back().uptimeMs > before.back().uptimeMs + kWatchedMs; }));
        rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(before.size()));
        const auto isTick = [](const ClockRow& row) { return row.event == "waveform_tick"; };
        const auto redraws = [](const ClockRow& row) { return row.detail.ends_with("redraw=1"); };
        return {std::ranges::count_if(rows, isTick), std::ranges::count_if(rows, redraws)};
    }
    /// Over the whole of its log, by the times that are written there: on a computer that is short of time ticks come
    /// late or not at all, but never more of them.
    double ticksPerSecond() {
        std::vector<double> ticks;
        for (const auto& row : clockRows())
            if (row.event == "waveform_tick") ticks.push_back(row.uptimeMs);
        return 1'000 * static_cast<double>(ticks.size() - 1) / (ticks.back() - ticks.front());
    }
    void expectKeyWindow(const std::string& wanted) const {
        EXPECT_TRUE(eventually([&] { return desktop.keyWindow() == wanted; })) << desktop.keyWindow();
    }
};

TEST_F(OnWayland, TheWaveformFollowsAtTheScreensPaceAndRestsWhenItIsPaused) {
    start();
    const auto player = startPlaying(session, noise(20, 5));
    waitForCapture(*rewindle);
    const auto following = watch();
    EXPECT_GE(following.ticks, 30);
    EXPECT_GE(following.redraws, following.ticks / 2);
    EXPECT_EQ(rewindle->command("freeze").exitCode, 0);
    ASSERT_TRUE(eventually([&] { return clockRows().back().detail.ends_with("redraw=0"); }));
    const auto paused = watch();
    EXPECT_GE(paused.ticks, 30);
    EXPECT_EQ(paused.redraws, 0);
    EXPECT_LE(ticksPerSecond(), 61);
}

TEST_F(OnWayland, AHandMarksSavesClosesAndBringsTheWindowsBack) {
    start();
    playAndPause();
    const auto first = lookAtRest().nextBlock(0);
    ASSERT_TRUE(first);
    EXPECT_NEAR(select(first->first + 10, first->first + 210).frames, 200 * framesPerPixel, 1);
    desktop.close(kWindow);
    expectKeyWindow("rewindle keeps listening — rewindle");
    desktop.press("Return");
    EXPECT_TRUE(eventually([&] { return !desktop.isOnScreen(kWindow); }));
    EXPECT_EQ(session.run(REWINDLE_BINARY).exitCode, 0);
    expectKeyWindow(kWindow);
    desktop.press("ctrl+comma");
    expectKeyWindow("Settings — rewindle");
    desktop.press("Right"); // from 30 s up to the next duration
    EXPECT_TRUE(eventually([&] { return rewindle->status("duration_seconds") == "45"; }));
}

// A compositor may say how large the window is to be before it is shown; the program asks for a strip at first.
TEST(InAKiosk, AWindowKeepsTheSizeThatTheCompositorGaveIt) {
    const PrivateSession session({.display = true, .kiosk = true});
    session.addDefaultSink("out");
    // It captures by the time that it is here, and that waits for the first frame.
    const Recorder rewindle(session, RecorderStart{.variables = "WAYLAND_DEBUG=1"});
    std::istringstream log(rewindle.log());
    bool isGiven = false;
    for (std::string line; std::getline(log, line);) {
        if (line.find("set_window_geometry(") == line.npos) continue;
        const bool isWhole = line.ends_with(", 1278, 720)");
        isGiven |= isWhole;
        EXPECT_EQ(isWhole, isGiven) << line;
    }
    EXPECT_TRUE(isGiven);
}

} // namespace
} // namespace rewindle::test
