// Everything that a hand does to the live waveform, by the clips that are saved afterwards: a stock player, real windows,
// mouse and keys.

#include "program/LiveWaveform.h"

#include <algorithm>
#include <cmath>

namespace rewindle::test {
namespace {

constexpr double kLeastFramesShown = 45'000;

std::string shifted(const std::string& actions) {
    return "keydown shift " + actions + "keyup shift ";
}

class WaveformWindow : public LiveWaveform {
protected:
    using Marked = std::pair<double, double>; // points
    struct Step {
        const char* what;
        std::string actions;
        std::optional<Marked> marked; // none: everything is saved
    };

    WaveformWindow() {
        start();
        playAndPause();
        // The places on the screen count from a little left of the sound, which is where 300 stands for.
        const auto first = lookAtRest().nextBlock(0);
        EXPECT_TRUE(first);
        base = first.value_or(std::pair(300, 300)).first - 310;
        nearer = framesPerPixel / std::pow(1.25, 3);
    }
    std::string at(double x) const { return to(base + x); }
    std::string clicked(double x) const { return at(x) + "click 1 " + at(x + 1); }
    std::string dragged(double from, double to_) const { return dragging(base + from, base + to_); }
    /// What is left of the first frame that is held, in points.
    void findAxis() { left = select(base + 300, base + 700).first / framesPerPixel - 300; }
    /// Another window takes the keyboard. It has long been away before a hand is back at this one.
    void leave(const std::string& other) const {
        mouse("windowactivate --sync " + other);
        EXPECT_TRUE(eventually([&] {
            const auto rows = clockRows();
            const auto start = std::ranges::find(rows.rbegin(), rows.rend(), "clock_start", &ClockRow::event);
            return start != rows.rend() && start->detail.ends_with("key=0");
        }));
    }
    void expect(const Step& step) const {
        SCOPED_TRACE(step.what);
        mouse(step.actions);
        const auto clip = save();
        if (!step.marked) {
            EXPECT_EQ(clip.frames(), kept.frames());
            return;
        }
        const auto place = placeOf(clip);
        EXPECT_NEAR(place.first / framesPerPixel - left, step.marked->first, 0.01);
        EXPECT_NEAR((place.first + place.frames) / framesPerPixel - left, step.marked->second, 0.01);
    }

    /// The frame at the left edge, and how many there are in a point: by a selection that reaches into the sound, for no
    /// stretch of the silence before it is like no other.
    struct View {
        double left, framesPerPoint;
    };
    View seen(double framesPerPoint) const {
        const double points = std::round(1'000 * nearer / framesPerPoint);
        const auto marked = select(100, 100 + points);
        desktop.press("Escape Escape");
        return {marked.first - 100 * marked.frames / points, marked.frames / points};
    }
    void expectView(const View& view) const {
        View now{};
        EXPECT_TRUE(eventually([&] {
            now = seen(view.framesPerPoint);
            return std::abs(now.left - view.left) < kNear && std::abs(now.framesPerPoint - view.framesPerPoint) < 0.1;
        })) << now.left
            << ' ' << now.framesPerPoint << " instead of " << view.left << ' ' << view.framesPerPoint;
    }
    bool follows() const {
        return eventually([&] {
            const auto picture = look();
            return std::abs(picture.head - 0.92 * picture.width) <= kColumn;
        });
    }
    bool showsPlayheadAt(int x) const {
        const Picture picture = look();
        const auto line = [&](int y) { return distance(picture.at(x, y), picture.at(x + 3, y)) > 60; };
        return line(top + 1) && !line(top + 5);
    }
    bool goesOn() const {
        return eventually([&] { return rewindle->status("frozen") == "false"; });
    }

    int base = 0;
    double left = 0;
    double nearer = 0; // frames in a point, three steps nearer than the sound was played
};

TEST_F(WaveformWindow, EveryPressDragAndKeyMarksWhatItShould) {
    findAxis();
    const auto outOfTheView = [&] {
        mouseRow = top + 5;
        auto actions = at(450) + "mousedown 1 ";
        mouseRow = top - 5;
        actions += at(450) + "mouseup 1 ";
        mouseRow = top + 80;
        return actions;
    }();
    const auto other = Process("exec xev -name other -geometry 200x20+400+40 >/dev/null");
    const auto otherWindow = desktop.window("other");
    const auto nearest = [&](double x) { return 320 + (x - 320) * kLeastFramesShown / width / framesPerPixel; };
    const double end = static_cast<double>(kept.frames()) / framesPerPixel - left;
    for (const auto& step : {
             Step{"the window comes back by a click", clicked(600), Marked{300, 700}},
             {"by a click inside the selection", clicked(500), Marked{300, 700}},
             {"by a press that hardly moves", dragged(600, 603), Marked{300, 700}},
             {"by a drag", dragged(710, 300), Marked{300, 710}},
         }) {
        leave(otherWindow);
        expect(step);
        EXPECT_EQ(desktop.keyWindow(), kWindow);
    }
    for (const auto& step : {
             Step{"Shift, right of the middle", shifted(clicked(600)), Marked{300, 600}},
             {"Shift, in the middle", shifted(clicked(450)), Marked{300, 450}},
             {"Shift, left of the middle", shifted(clicked(350)), Marked{350, 450}},
             {"Shift, left of it all", shifted(clicked(250)), Marked{250, 450}},
             {"Shift and a drag", shifted(dragged(500, 550)), Marked{250, 550}},
             {"a click inside", clicked(400), {}},
             {"Shift, from the playhead", shifted(clicked(600)), Marked{400, 600}},
             {"a small drag inside", dragged(480, 500), {}},
             {"Shift, to the left of the playhead", shifted(clicked(400)), Marked{400, 500}},
             {"a drag out of it", dragged(450, 490), Marked{400, 500}},
             {"a drag out of the view", outOfTheView, Marked{400, 500}},
             {"a drag of three points", dragged(360, 363), {}},
             {"Shift and a drag from the playhead of that", shifted(dragged(500, 540)), Marked{363, 540}},
             {"Shift and a drag to the other end", shifted(dragged(530, 364)), {}},
             {"a drag to the left", dragged(700, 300), Marked{300, 700}},
             {"copy, play, wheel, letters", at(500) + "click 4 click 5 key ctrl+c space x 0 ", Marked{300, 700}},
             {"Right", "key Right ", Marked{304, 704}},
             {"Shift and Right", "key shift+Right ", Marked{304, 708}},
             {"Shift and Left", "key shift+Left ", Marked{300, 708}},
             {"Left, twice", "key Left Left ", Marked{292, 700}},
             {"Escape, of the playhead", "key Escape ", Marked{292, 700}},
             {"Escape, of the selection", "key Escape ", {}},
             {"everything", "key ctrl+a ", {}},
             {"and less than that", shifted(clicked(500)), Marked{500, end}},
             {"a drag of less than 480 frames, as near as can be",
              "key Escape Escape " + at(320) + "keydown ctrl click --repeat 20 5 keyup ctrl " + dragged(320, 328),
              {}},
             {"Shift, from its playhead", shifted(clicked(520)), Marked{nearest(328), nearest(520)}},
         })
        expect(step);
    EXPECT_EQ(rewindle->status("frozen"), "true") << "a space with something marked freezes nothing";
}

TEST_F(WaveformWindow, KeysAndWheelsMoveTheViewAndTheButtonLetsItFollow) {
    struct Move {
        const char* what;
        std::string actions;
        View view;
    };
    const double visible = nearer * width, whole = kSecondsKept * kRate / width;
    const double scrolled = 0.16 * visible - 10 * nearer;
    for (const auto& step : {
             Move{"Home, three times nearer", "key ctrl+equal ctrl+equal ctrl+equal Home", {0, nearer}},
             {"Right", "key Right", {0.08 * visible, nearer}},
             {"Right, twice", "key Right Right", {0.24 * visible, nearer}},
             {"Left", "key Left", {0.16 * visible, nearer}},
             {"a wheel to the right", to(600) + "click 7", {0.16 * visible + 10 * nearer, nearer}},
             {"and to the left", to(600) + "click 6 click 6", {scrolled, nearer}},
             {"a wheel", to(600) + "click 4 click 4", {scrolled, nearer}},
             {"a wheel with Shift", shifted(to(600) + "click 5 "), {0.16 * visible, nearer}},
             {"the middle button", to(600) + "mousedown 2 " + to(605) + to(610) + "mouseup 2 ", {scrolled, nearer}},
             {"farther, about the middle", "key ctrl+minus", {scrolled - 0.125 * visible, 1.25 * nearer}},
             {"nearer", "key ctrl+plus", {scrolled, nearer}},
             {"a wheel with Ctrl, about the mouse",
              to(600) + "keydown ctrl click 5 keyup ctrl",
              {scrolled + 600 * (nearer - nearer / 1.15), nearer / 1.15}},
             {"Ctrl+Left", "key ctrl+Left", {0, nearer / 1.15}},
             {"as it was at first", "key Right ctrl+0", {0, whole}},
         }) {
        SCOPED_TRACE(step.what);
        mouse(step.actions);
        expectView(step.view);
    }
    desktop.press("ctrl+equal ctrl+equal ctrl+equal ctrl+equal ctrl+equal");
    for (const char* const key : {"ctrl+Right", "End"}) {
        desktop.press("Home " + std::string(key));
        EXPECT_TRUE(follows()) << key;
    }
    desktop.press("space");
    EXPECT_TRUE(goesOn());
    const auto pressButton = [&] { mouse(to(width - 28) + "click 1 " + to(40)); };
    mouseRow = top + 28;
    pressButton();
    EXPECT_TRUE(eventually([&] { return std::abs(look().head - 0.92 * look().width) > 20; })) << "paused";
    pressButton();
    EXPECT_TRUE(follows());
    mouseRow = top + 80;

    mouse("keydown space");
    awaitFreeze();
    play(session, noise(1.5, 3)); // meanwhile the key repeats
    mouse("keyup space");
    EXPECT_EQ(rewindle->retained().frames(), kept.frames());
    mouse(to(300) + "click 1 " + to(301) + "key space");
    EXPECT_TRUE(eventually([&] { return showsPlayheadAt(300); }));
    desktop.press("Escape");
    EXPECT_TRUE(eventually([&] { return !showsPlayheadAt(300); }));
    desktop.press("space");
    EXPECT_TRUE(goesOn()) << "a space with a playhead freezes nothing";
}

} // namespace
} // namespace rewindle::test
