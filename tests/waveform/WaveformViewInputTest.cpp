#include "waveform/WaveformView.h"

#include "WaveformViewFixture.h"

#include <cmath>

namespace rewindle::test {
namespace {

using testing::ElementsAre;

/// The buffer is frozen, so that points stay where they are.
class WaveformViewInputTest : public WaveformViewFixture {
protected:
    WaveformViewInputTest() {
        freeze.frozen = true;
        tick();
    }
    /// The ends of the selection in points, from the left; empty without a selection.
    std::vector<double> selection() {
        if (!marks().hasSelection()) return {};
        return {pointOf(marks().selectionStart()), pointOf(marks().selectionEnd())};
    }
    std::optional<double> playhead() {
        const auto frame = marks().insertMarkerFrame;
        return frame ? std::optional(pointOf(*frame)) : std::nullopt;
    }
    double pointOf(double frame) {
        return std::round((frame - timeline().viewStartFrame) / kFramesPerPoint * 1e6) / 1e6;
    }
    bool key(KeyCode code, ModifierFlags modifiers = {}, bool isRepeat = false) {
        return view->keyDown({.code = code, .modifiers = modifiers, .isRepeat = isRepeat});
    }
    bool command(char32_t character, KeyCode code = KeyCode::other) {
        return view->performKeyEquivalent({.code = code, .character = character, .modifiers = kCommand});
    }
    /// Presses the space bar, and lets the audition get round to it.
    bool space() {
        const bool taken = key(KeyCode::space);
        audition.catchUp();
        return taken;
    }
    void clearMarks() {
        while (marks().hasMarks())
            key(KeyCode::escape);
        view->resumeLiveFollow();
        followReports.clear();
    }
};

TEST_F(WaveformViewInputTest, ADragSelectsAndAClickDropsThePlayhead) {
    struct Case {
        double from, to;
        std::vector<double> selection;
        std::optional<double> playhead;
    };
    const Case cases[] = {
        {100, 300, {100, 300}, {}}, {300, 100, {100, 300}, {}}, {100, 104, {100, 104}, {}}, {100, 103, {}, 103},
        {100, 100, {}, 100},        {700, 790, {700, 736}, {}}, // no further than the head
        {790, 790, {}, 736},        {300, -50, {-50, 300}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.from << " to " << c.to);
        clearMarks();
        drag(c.from, c.to);
        EXPECT_EQ(selection(), c.selection);
        EXPECT_EQ(playhead(), c.playhead);
        EXPECT_THAT(followReports, ElementsAre(false));
        tick(5);
        EXPECT_FALSE(timeline().followLive); // the mark is at the live edge
    }
    EXPECT_TRUE(host.isFirstResponder);
    clearMarks();
    while (timeline().xAxisMultiplier < 32)
        view->zoomIn();
    tick();
    drag(100, 108); // 450 frames
    EXPECT_FALSE(marks().hasSelection());
    EXPECT_TRUE(marks().insertMarkerFrame);
}

TEST_F(WaveformViewInputTest, ShiftMovesTheNearerEndOfTheSelectionOrSelectsFromThePlayhead) {
    const std::pair<double, std::vector<double>> cases[] = {
        {500, {200, 500}}, {400, {200, 400}}, {300, {200, 300}}, {299, {299, 400}}, {100, {100, 400}}};
    for (const auto& [x, expected] : cases) {
        clearMarks();
        drag(200, 400);
        click(x, kShift);
        EXPECT_EQ(selection(), expected);
    }
    for (int i = 0; i < 100; ++i) { // the middle, whatever the frames are rounded to
        const FrameAxis axis{1'000.1 * i, 45'000 * (1 + 0.1 * i), {800, 200}};
        WaveformMarks some;
        some.select(axis.frame(600), axis.frame(300));
        EXPECT_EQ(some.fixedEndFor(axis.frame(450)), axis.frame(300)) << i;
    }
    clearMarks();
    click(200);
    space();
    EXPECT_TRUE(audition.isPlaying());
    press(300, kShift);
    EXPECT_FALSE(audition.asked);
    audition.catchUp();
    moveTo(100);
    EXPECT_EQ(selection(), (std::vector<double>{100, 200}));
    moveTo(200.2); // less than a selection
    release(200.2);
    EXPECT_FALSE(marks().hasSelectionEnds());
    EXPECT_EQ(playhead(), 200);
}

TEST_F(WaveformViewInputTest, ASlowMovementLeavesEitherEdgeAsAFastOneDoesButSmallOnesWithPausesDoNot) {
    tick(60);
    const double liveEdge = timeline().viewStartFrame;
    for (const bool live : {true, false}) {
        SCOPED_TRACE(live);
        const double step = live ? 1 : -1; // points, of what is shown
        const auto isAtEdge = [&] { return live ? timeline().followLive : timeline().holdingOldestRetentionEdge; };
        double pointer = 400;
        const auto drag = [&] { view->otherMouseDragged({{pointer += step, 100}, {}, 1}); };
        const auto scroll = [&] { view->scrollWheel({{400, 100}, step, 0, true, {}}); };
        for (const auto& move : {std::function<void()>(drag), std::function<void()>(scroll)}) {
            if (live) {
                view->resumeLiveFollow();
            } else {
                view->jumpToOldest();
            }
            const double edge = live ? liveEdge : timeline().cachedOldestStart;
            tick();
            view->otherMouseDown({{pointer, 100}, {}, 1});
            for (int i = 0; i < 10; ++i, tick(20))
                move();
            EXPECT_TRUE(isAtEdge());
            tick(20);
            for (int i = 0; i < 10; ++i) {
                move();
                if (i % 2) tick(); // two in a frame, as a fast pointing device has them
            }
            EXPECT_FALSE(isAtEdge());
            EXPECT_NEAR(timeline().viewStartFrameTarget, edge - 10 * step * kFramesPerPoint, 1);
        }
    }
}

TEST_F(WaveformViewInputTest, ThePressThatActivatesTheWindowSelectsOnlyByADrag) {
    const auto activate = [&](double x) {
        view->acceptFirstMouse({{x, 100}, {}, presses + 1});
        press(x);
    };
    drag(200, 400);
    for (const double x : {600.0, 300.0}) { // outside and inside the selection
        activate(x);
        moveTo(x + 3);
        release(x + 3);
        EXPECT_EQ(selection(), (std::vector<double>{200, 400}));
        EXPECT_EQ(playhead(), std::nullopt);
    }
    activate(600);
    moveTo(604);
    moveTo(650);
    release(650);
    EXPECT_EQ(selection(), (std::vector<double>{600, 650}));
    click(100); // the next press is an ordinary one
    EXPECT_EQ(playhead(), 100);
}

TEST_F(WaveformViewInputTest, ADragOutOfTheSelectionStartsAfter28PointsOrAtTheEdge) {
    drag(200.25, 400.75);
    press(300);
    EXPECT_EQ(host.cursor, CursorShape::closedHand);
    moveTo(300 + 19.7, 100 + 19.7);
    EXPECT_FALSE(outlets.dragged);
    release(300); // a click after all
    EXPECT_EQ(playhead(), 300);
    EXPECT_FALSE(marks().hasSelection());

    const std::array<Point, 2> leaving[] = {{{{300, 100}, {319.9, 119.9}}}, {{{300, 5}, {300, -1}}}};
    for (const auto& [from, to] : leaving) {
        drag(200.25, 400.75);
        view->mouseDown({from, {}, ++presses});
        moveTo(to.x, to.y);
        EXPECT_EQ(outlets.dragged, marks().selectedRange());
        EXPECT_EQ(outlets.dragged->first, std::llround(frameAt(200.25)));
        EXPECT_EQ(outlets.draggedRect, (Rect{200.25, 0, 200.5, 200}));
        moveTo(600);
        release(600);
        click(700);
        EXPECT_EQ(selection(), (std::vector<double>{200.25, 400.75})); // the mouse is the drag's
        outlets.endDrag();
        click(700);
        EXPECT_EQ(playhead(), 700);
        outlets.dragged.reset();
    }
    drag(200, 400);
    outlets.refuses = true;
    press(300);
    moveTo(350);
    release(350);
    drag(500, 600);
    EXPECT_EQ(selection(), (std::vector<double>{500, 600}));
}

TEST_F(WaveformViewInputTest, TheMiddleButtonAndTheWheelPanTheView) {
    view->zoomIn(); // 1,440 frames per point
    tick();
    const double start = timeline().viewStartFrame;
    view->otherMouseDown({.location = {100, 100}});
    view->otherMouseDragged({.location = {150, 100}});
    view->otherMouseDragged({.location = {120, 50}});
    EXPECT_NEAR(timeline().viewStartFrame, start - 20 * 1'440, 1e-6);
    view->otherMouseUp({});
    view->otherMouseDragged({.location = {500, 100}});
    EXPECT_NEAR(timeline().viewStartFrame, start - 20 * 1'440, 1e-6);
    EXPECT_FALSE(timeline().followLive);

    const double target = timeline().viewStartFrameTarget;
    view->scrollWheel({.location = {}, .deltaX = 1});
    EXPECT_NEAR(timeline().viewStartFrameTarget, target - 10 * 1'440, 1e-6);
    view->scrollWheel({.location = {}, .deltaX = 5, .deltaY = 9, .hasPreciseDeltas = true});
    EXPECT_NEAR(timeline().viewStartFrameTarget, target - 15 * 1'440, 1e-6);
    view->scrollWheel({.location = {}, .deltaY = 3});
    EXPECT_NEAR(timeline().viewStartFrameTarget, target - 15 * 1'440, 1e-6);
    view->scrollWheel({.location = {}, .deltaX = -99}); // to the live edge
    EXPECT_TRUE(timeline().followLive);
}

TEST_F(WaveformViewInputTest, CommandScrollAndPinchZoomAboutThePointer) {
    for (int i = 0; i < 8; ++i)
        view->zoomIn();
    tick();
    (void)key(KeyCode::leftArrow);
    tick(60);
    const auto frameUnder = [&](double x) { return view->editor().axis().frame(x); };
    const double anchor = frameUnder(200);
    const double zoom = timeline().xAxisMultiplier;
    view->scrollWheel({.location = {200, 0}, .deltaX = 50, .deltaY = -2, .modifiers = kCommand});
    EXPECT_NEAR(timeline().xAxisMultiplier, zoom * 1.3, 1e-9);
    EXPECT_NEAR(frameUnder(200), anchor, 1e-3);
    view->scrollWheel({.location = {200, 0}, .deltaY = 2, .hasPreciseDeltas = true, .modifiers = kCommand});
    EXPECT_NEAR(timeline().xAxisMultiplier, zoom * 1.3 * 0.97, 1e-9);
    view->magnifyWithEvent({{200, 0}, 0.1});
    EXPECT_NEAR(timeline().xAxisMultiplier, zoom * 1.3 * 0.97 * 1.1, 1e-9);
    EXPECT_NEAR(frameUnder(200), anchor, 1e-3);
    view->magnifyWithEvent({{200, 0}, 1e6});
    EXPECT_EQ(timeline().xAxisMultiplier, 32);
}

TEST_F(WaveformViewInputTest, SpacePlaysTheSelectionElseFromThePlayheadElseFreezes) {
    EXPECT_TRUE(space());
    EXPECT_FALSE(freeze.frozen);
    EXPECT_TRUE(key(KeyCode::space, {}, true));
    EXPECT_FALSE(freeze.frozen);
    EXPECT_TRUE(space());
    EXPECT_TRUE(freeze.frozen);

    click(500);
    EXPECT_TRUE(space());
    EXPECT_EQ(audition.playing->range, (ClipRange{std::llround(frameAt(500)), std::int64_t{40} * 48'000}));
    EXPECT_EQ(audition.playing->ringBuffer, ring);
    EXPECT_EQ(audition.playing->trimDB, 0);
    EXPECT_TRUE(space());
    EXPECT_FALSE(audition.isPlaying());
    drag(100.5, 200);
    view->pauseLiveFollow(); // or the view would follow again without the selection, which ends auditions
    EXPECT_TRUE(space());
    EXPECT_EQ(audition.playing->range, marks().selectedRange());
    EXPECT_TRUE(key(KeyCode::escape)); // what plays can still be stopped
    EXPECT_TRUE(space());
    EXPECT_FALSE(audition.isPlaying());
    EXPECT_TRUE(freeze.frozen);
    click(790); // at the head: nothing to play
    EXPECT_TRUE(space());
    EXPECT_FALSE(audition.isPlaying());
    EXPECT_EQ(host.beeps, 1);
}

TEST_F(WaveformViewInputTest, EscapeClearsThePlayheadFirst) {
    drag(100, 200);
    (void)key(KeyCode::rightArrow); // puts the playhead to its start
    EXPECT_TRUE(marks().insertMarkerFrame && marks().hasSelection());
    EXPECT_TRUE(key(KeyCode::escape));
    EXPECT_TRUE(!marks().insertMarkerFrame && marks().hasSelection());
    press(600);
    moveTo(700);
    view->clearWaveformSelection(); // ends the drag, too
    moveTo(750);
    release(750);
    EXPECT_FALSE(marks().hasMarks());
}

TEST_F(WaveformViewInputTest, KeysAndCommandsNavigate) {
    const double oldest = 10 * 48'000;
    EXPECT_TRUE(key(KeyCode::home));
    EXPECT_EQ(timeline().viewStartFrame, oldest);
    EXPECT_TRUE(timeline().holdingOldestRetentionEdge);
    EXPECT_TRUE(key(KeyCode::end));
    EXPECT_TRUE(command(0, KeyCode::leftArrow));
    EXPECT_EQ(timeline().viewStartFrame, oldest);
    EXPECT_TRUE(command(0, KeyCode::rightArrow));
    EXPECT_THAT(followReports, ElementsAre(false, true, false, true));

    EXPECT_TRUE(command(U'+'));
    EXPECT_TRUE(command(U'='));
    EXPECT_EQ(timeline().xAxisMultiplier, 1.25 * 1.25);
    EXPECT_TRUE(command(U'-'));
    EXPECT_EQ(timeline().xAxisMultiplier, 1.25);
    EXPECT_TRUE(command(U'0'));
    EXPECT_EQ(timeline().xAxisMultiplier, 1);

    view->zoomIn();
    tick();
    const double live = timeline().viewStartFrame;
    EXPECT_TRUE(key(KeyCode::leftArrow));
    EXPECT_NEAR(timeline().viewStartFrameTarget, live - 0.08 * 1'440'000 / 1.25, 1e-6);
    EXPECT_TRUE(key(KeyCode::leftArrow));
    EXPECT_TRUE(key(KeyCode::rightArrow, kShift));
    EXPECT_NEAR(timeline().viewStartFrameTarget, live - 0.08 * 1'440'000 / 1.25, 1e-6);

    EXPECT_FALSE(key(KeyCode::other));
    EXPECT_FALSE(key(KeyCode::space, kCommand));
    EXPECT_FALSE(command(U'x'));
    EXPECT_FALSE(view->performKeyEquivalent({.character = U'0', .modifiers = {.control = true, .command = true}}));
    EXPECT_FALSE(view->performKeyEquivalent({.character = U'0'}));
}

TEST_F(WaveformViewInputTest, ArrowsSlideTheSelectionAndShiftGrowsIt) {
    struct Case {
        const char* what;
        double anchor, current, step;
        bool extends;
        double low, high;
    };
    const Case cases[] = {
        // between 1,000 and 9,000
        {"right", 3'000, 5'000, 100, false, 3'100, 5'100},
        {"left, made from the right", 5'000, 3'000, -100, false, 2'900, 4'900},
        {"left at the bound", 1'000, 3'000, -100, false, 1'000, 3'000},
        {"right near the bound", 6'950, 8'950, 100, false, 7'000, 9'000},
        {"grows to the right", 3'000, 5'000, 100, true, 3'000, 5'100},
        {"grows to the left", 5'000, 3'000, -100, true, 2'900, 5'000},
        {"left at the bound, grows", 1'000, 3'000, -100, true, 1'000, 3'000},
        {"right near the bound, grows", 6'950, 8'950, 100, true, 6'950, 9'000},
        {"never too short", 8'900, 9'000, 100, true, 8'900, 9'380},
        {"never too short on the left", 1'000, 1'100, -100, true, 620, 1'100},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        WaveformMarks some;
        some.select(c.anchor, c.current);
        some.nudgeSelection(c.step, c.extends, 1'000, 9'000);
        EXPECT_EQ(some.selectionAnchorFrame, c.low);
        EXPECT_EQ(some.selectionCurrentFrame, c.high);
        EXPECT_EQ(some.insertMarkerFrame, c.low);
    }
    drag(100, 200); // by four points
    EXPECT_TRUE(key(KeyCode::rightArrow));
    EXPECT_EQ(selection(), (std::vector<double>{104, 204}));
    EXPECT_TRUE(key(KeyCode::leftArrow, kShift));
    EXPECT_EQ(selection(), (std::vector<double>{100, 204}));
    EXPECT_EQ(playhead(), 100);
}

TEST_F(WaveformViewInputTest, SavesAndCopiesTheSelectionInWholeFrames) {
    view->saveAllCapturedAudioAs();
    EXPECT_THAT(outlets.saves, ElementsAre(std::nullopt)); // all
    outlets.finishSave(WaveformExportError(WaveformExportError::Case::emptySelection));
    EXPECT_TRUE(command(U'c'));
    EXPECT_FALSE(outlets.copied);
    EXPECT_TRUE(command(U'A'));
    EXPECT_EQ(marks().selectedRange(), (ClipRange{std::int64_t{10} * 48'000, std::int64_t{40} * 48'000}));
    clearMarks();
    drag(100.0004, 200.0003);
    const ClipRange range{std::llround(frameAt(100.0004)), std::llround(frameAt(200.0003))};
    EXPECT_TRUE(command(U'S'));
    EXPECT_EQ(outlets.saves.back(), range);
    outlets.finishSave(std::filesystem::path("/clips/a.wav"));
    EXPECT_TRUE(command(U'c'));
    EXPECT_EQ(outlets.copied, range);
    outlets.refuses = true;
    view->copy();
    const auto refused = WaveformExportError::writeFailed({1, "refused"});
    EXPECT_THAT(failures, ElementsAre(WaveformExportError(WaveformExportError::Case::emptySelection), std::nullopt,
                                      std::nullopt, refused));
    view->saveAllCapturedAudioAs();
    view.reset();
    outlets.finishSave(std::filesystem::path("/clips/b.wav")); // comes too late, to nobody
    EXPECT_EQ(failures.size(), 4U);
}

TEST_F(WaveformViewInputTest, NothingCanBeMarkedOrHeardBeforeAnythingIs) {
    view->setRingBuffer(std::make_shared<AudioRingBuffer>(30, memory));
    tick();
    for (const auto code : {KeyCode::home, KeyCode::leftArrow, KeyCode::rightArrow, KeyCode::end})
        (void)key(code);
    drag(300, 700);
    (void)command(U'+');
    (void)command(U'A');
    tick();
    EXPECT_FALSE(marks().hasSelection());
    (void)command(U'c');
    space();
    EXPECT_FALSE(outlets.copied || audition.isPlaying());
}

TEST_F(WaveformViewInputTest, ThePointersShapeTellsWhatAPressWouldDo) {
    const auto hover = [&](double x, ModifierFlags modifiers = {}) {
        host.pointer = Point{x, 100};
        view->mouseMoved({*host.pointer, modifiers, 0});
        return host.cursor;
    };
    EXPECT_EQ(hover(300), CursorShape::iBeam);
    EXPECT_EQ(hover(300, kShift), CursorShape::iBeam); // nothing to extend
    drag(200, 400);
    EXPECT_EQ(hover(300), CursorShape::openHand);
    EXPECT_EQ(hover(500), CursorShape::iBeam);
    view->flagsChanged(kShift);
    EXPECT_EQ(host.cursor, CursorShape::resizeLeftRight);
    EXPECT_EQ(hover(300), CursorShape::openHand);
    for (int i = 0; i < 60; ++i) { // the selection moves away under a resting pointer
        (void)key(KeyCode::rightArrow);
        view->mouseMoved({*host.pointer, {}, 0});
    }
    EXPECT_EQ(host.cursor, CursorShape::iBeam);
    drag(200, 400);
    view->zoomIn();
    hover(300);
    view->jumpToOldest();
    tick();
    EXPECT_EQ(host.cursor, CursorShape::iBeam);
    view->setRingBuffer(nullptr);
    EXPECT_EQ(host.cursor, CursorShape::arrow);
}

} // namespace
} // namespace rewindle::test
