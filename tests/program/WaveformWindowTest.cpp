// What the desktop adds to a hand at the live waveform: a press that brings its window back, a key that repeats, a window
// that covers it. By the clips that are saved afterwards.

#include "program/LiveWaveform.h"

#include <algorithm>
#include <cmath>

namespace rewindle::test {
namespace {

class WaveformWindow : public LiveWaveform {
protected:
    WaveformWindow() {
        start();
        playAndPause();
        const auto first = lookAtRest().nextBlock(0);
        EXPECT_TRUE(first);
        left = first.value_or(std::pair(300, 300)).first - 10;
    }
    [[nodiscard]] std::string clicked(int x) const { return to(x) + "click 1 " + to(x + 1); }
    /// Saves, and checks that the clip is what lies between two places on the screen, counted from `left`.
    void expectMarked(double from, double end) const {
        const auto place = placeOf(save());
        EXPECT_NEAR((place.first - firstFrame) / framesPerPixel, from, 0.01);
        EXPECT_NEAR((place.first + place.frames - firstFrame) / framesPerPixel, end, 0.01);
    }

    int left = 0;          // pixels: a little left of the sound
    double firstFrame = 0; // at `left`
};

TEST_F(WaveformWindow, AHandMarksZoomsFreezesAndBringsItBack) {
    EXPECT_EQ(rewindle->logCount("Drawing with"), 0) << "no GPU but the one that is software";
    firstFrame = select(left, left + 400).first;
    const auto other = Process("exec xev -name other -geometry 200x20+400+40 >/dev/null");
    const auto otherWindow = desktop.window("other");
    mouse("windowactivate --sync " + otherWindow);
    EXPECT_TRUE(eventually([&] { // it has long been away before a hand is back
        const auto rows = clockRows();
        const auto start = std::ranges::find(rows.rbegin(), rows.rend(), "clock_start", &ClockRow::event);
        return start != rows.rend() && start->detail.ends_with("key=0");
    }));
    mouse(clicked(left + 200));
    EXPECT_EQ(desktop.keyWindow(), kWindow);
    expectMarked(0, 400);
    mouse("keydown shift " + clicked(left + 300) + "keyup shift");
    expectMarked(0, 300);

    mouse(to(left) + "keydown ctrl click 5 keyup ctrl"); // nearer, about the mouse
    EXPECT_TRUE(eventually([&] {
        const auto now = select(left, left + 400);
        return std::abs(now.first - firstFrame) < kNear && std::abs(1.15 * now.frames - 400 * framesPerPixel) < kNear;
    }));

    desktop.press("Escape Escape space");
    EXPECT_TRUE(eventually([&] { return rewindle->status("frozen") == "false"; }));
    mouse("keydown space");
    awaitFreeze();
    play(session, noise(1.5, 3)); // meanwhile the key repeats
    mouse("keyup space");
    EXPECT_EQ(rewindle->retained().frames(), kept.frames());

    mouse("windowmove --sync " + otherWindow + " 0 0 windowsize --sync " + otherWindow +
          " 1280 400 windowactivate --sync " + otherWindow);
    EXPECT_TRUE(eventually([&] { return clockRows().back().event == "clock_stop"; }));
    mouse("windowraise " + window);
    EXPECT_TRUE(eventually([&] { return clockRows().back().event == "waveform_tick"; }));
}

} // namespace
} // namespace rewindle::test
