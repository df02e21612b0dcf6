#include "waveform/WaveformView.h"

#include "WaveformViewFixture.h"
#include "fakes/AllocationCounter.h"
#include "waveform/WaveformViewContainer.h"

namespace rewindle::test {
namespace {

using testing::ElementsAre;

/// Counts what is drawn on it.
struct FakeGraphicsContext final : GraphicsContext {
    void saveState() override { ++depth; }
    void restoreState() override { --depth; }
    void translate(double, double) override {}
    void clip(const Rect&) override {}
    void fillEnvelope(const EnvelopeStrip&) override { ++envelopes; }
    void fillRect(const Rect&, const Color&) override {}
    void strokeRect(const Rect&, double, const Color&) override {}
    int depth = 0, envelopes = 0;
};

class WaveformViewTest : public WaveformViewFixture {
protected:
    /// Whether the host was asked for a drawing since the last call, which is then made.
    bool draws() {
        if (!std::exchange(host.needsDisplay, false)) return false;
        view->draw(context);
        EXPECT_EQ(context.depth, 0);
        return true;
    }
    FakeGraphicsContext context;
};

TEST_F(WaveformViewTest, ARendererGetsTheFrameInPlaceOfAllDrawingButSnapshots) {
    record(0.1, -0.5F);
    view->draw(context);
    EXPECT_EQ(context.envelopes, 1);
    view->setRenderer(&renderer);
    tick(60);
    const auto& frame = renderer.last;
    EXPECT_EQ(frame.viewport, (Size{800, 200}));
    EXPECT_EQ(frame.columnCount, 402);
    EXPECT_EQ(std::pair(frame.gradEnd.y, frame.gradColor1), std::pair(55.0, theme.waveformTop));
    EXPECT_EQ(std::pair(frame.gradStart.y, frame.gradColor0), std::pair(145.0, theme.waveformBottom));
    view->draw(context);
    EXPECT_EQ(context.envelopes, 1);
    view->drawSnapshot(context);
    EXPECT_EQ(context.envelopes, 2);
}

TEST_F(WaveformViewTest, DrawsOnlyWhenSomethingMovesAndThenAllocatesNothing) {
    tick();
    EXPECT_TRUE(draws());
    tick();
    record(0.02);
    tick();
    EXPECT_TRUE(draws());
    freeze.frozen = true;
    tick();
    EXPECT_TRUE(draws()); // the write head's colour
    tick(30);
    EXPECT_FALSE(draws());
    const auto before = allocationsOfThisThread();
    tick(30);
    EXPECT_EQ(allocationsOfThisThread(), before);

    freeze.frozen = false;
    click(400); // dashes
    view->setRenderer(&renderer);
    tick();
    RingSamples samples(800, 0.5F, 0.5F);
    const auto buffer = samples.buffer();
    const auto beforeFrames = allocationsOfThisThread();
    for (int i = 0; i < 20; ++i) {
        ring->append(buffer);
        tick();
    }
    EXPECT_EQ(allocationsOfThisThread(), beforeFrames);
    EXPECT_EQ(renderer.frames, 21);
    freeze.frozen = true;
    tick(2);
    const int standing = renderer.frames;
    theme.waveformTop = {1, 1, 1};
    view->setTheme(theme); // moves nothing, and is seen
    tick(2);
    EXPECT_EQ(renderer.frames, standing + 1);
}

TEST_F(WaveformViewTest, NothingIsDrawnOnNoAreaOrOfNoBuffer) {
    view->setRenderer(&renderer);
    for (const Size size : {Size{0, 200}, Size{800, 0}}) {
        view->setBoundsSize(size);
        tick();
        EXPECT_EQ(renderer.frames, 0);
    }
    view->setBoundsSize({1, 200});
    tick();
    EXPECT_EQ(renderer.last.columnCount, 3);
    view->setRingBuffer(nullptr);
    press(0);
    release(0);
    tick();
    EXPECT_EQ(renderer.frames, 1);
    EXPECT_FALSE(marks().insertMarkerFrame);
    view->setRingBuffer(std::make_shared<AudioRingBuffer>(30, memory)); // nothing captured yet
    tick();
    EXPECT_EQ(renderer.frames, 2);
    EXPECT_TRUE(renderer.last.overlays.empty());
}

TEST_F(WaveformViewTest, AnExportThatHoldsTheBufferIsNoFreeze) {
    view->setRenderer(&renderer);
    tick();
    record(0.1);
    ring->setFrozen(true); // as a copy does for its length
    const double before = timeline().viewStartFrame;
    tick();
    EXPECT_GT(timeline().viewStartFrame, before);
    EXPECT_EQ(renderer.last.overlays[0].color, theme.head);
    freeze.frozen = true;
    const double head = timeline().renderedHeadFrame;
    tick();
    EXPECT_EQ(timeline().renderedHeadFrame, head);
    EXPECT_EQ(renderer.last.overlays[0].color, theme.headFrozen);
}

TEST_F(WaveformViewTest, TheAuditionsCursorBlinksAndTakesTheViewAlongUntilTheUserMovesIt) {
    click(100);
    const double playhead = *marks().insertMarkerFrame;
    EXPECT_TRUE(view->keyDown({.code = KeyCode::space}));
    tick(20); // it takes its time, and has no cursor so far
    EXPECT_EQ(view->editor().auditionCursor().playbackCursorFrame, std::nullopt);
    audition.catchUp();
    std::vector<bool> phases;
    for (int i = 0; i < 48; ++i) {
        tick();
        phases.push_back(view->editor().auditionCursor().cursorBlinkVisible);
    }
    for (std::size_t i = 0; i < phases.size(); ++i)
        EXPECT_EQ(phases[i], i < 11 || (i >= 23 && i < 35) || i >= 47) << i;
    EXPECT_EQ(view->editor().auditionCursor().playbackCursorFrame, playhead);

    while (timeline().xAxisMultiplier < 8)
        view->zoomIn();
    const double visible = 1'440'000 / timeline().xAxisMultiplier;
    audition.position = timeline().viewStartFrame + 0.95 * visible;
    tick();
    EXPECT_NEAR((*audition.position - timeline().viewStartFrame) / visible, 0.92, 1e-9);
    view->scrollWheel({.location = {400, 100}, .deltaX = 1, .hasPreciseDeltas = true});
    const double target = timeline().viewStartFrameTarget;
    audition.position = *audition.position + 0.2 * visible;
    tick();
    EXPECT_EQ(timeline().viewStartFrameTarget, target);

    audition.asked.reset(); // at its end
    audition.catchUp();
    tick();
    EXPECT_EQ(view->editor().auditionCursor().playbackCursorFrame, std::nullopt);
    EXPECT_TRUE(view->editor().auditionCursor().cursorBlinkVisible);
}

TEST_F(WaveformViewTest, FollowingAgainEndsAnAuditionAndThePlayhead) {
    freeze.frozen = true;
    view->zoomIn();
    tick();
    click(100);
    (void)view->keyDown({.code = KeyCode::space});
    audition.catchUp();
    (void)view->keyDown({.code = KeyCode::leftArrow});
    tick(30);
    EXPECT_TRUE(audition.asked);
    EXPECT_TRUE(marks().insertMarkerFrame);
    for (int i = 0; i < 20; ++i)
        (void)view->keyDown({.code = KeyCode::rightArrow});
    EXPECT_FALSE(audition.asked);
    EXPECT_FALSE(marks().insertMarkerFrame);
    EXPECT_THAT(followReports, ElementsAre(false, true));
}

TEST_F(WaveformViewTest, AnotherBufferKeepsTheSpanAndTheMarksAndFollows) {
    draws();
    press(100);
    moveTo(200);
    const auto anchor = marks().selectionAnchorFrame;
    view->setRingBuffer(std::make_shared<AudioRingBuffer>(60, memory, *ring));
    EXPECT_EQ(timeline().xAxisMultiplier, 2);
    EXPECT_TRUE(timeline().followLive);
    EXPECT_TRUE(draws());
    moveTo(300); // the drag goes on
    release(300);
    EXPECT_EQ(marks().selectionAnchorFrame, anchor);
    EXPECT_EQ(marks().selectionCurrentFrame, frameAt(300));
    EXPECT_THAT(followReports, ElementsAre(false, true, false));
    host.needsDisplay = false;
    view->setRingBuffer(view->editor().ringBuffer());
    EXPECT_FALSE(draws());
}

TEST_F(WaveformViewTest, AViewThatReappearsShowsTheNewestAudioAtOnce) {
    tick();
    draws();
    view->timerTick(false);
    EXPECT_FALSE(draws());
    clock.advance(std::chrono::seconds(5));
    record(5);
    view->timerTick(true);
    EXPECT_TRUE(draws());
    EXPECT_EQ(timeline().renderedHeadFrame, 45 * 48'000);
}

TEST_F(WaveformViewTest, EveryInputMakesTheClockFastForASecond) {
    EXPECT_EQ(view->preferredClockMode(), AnimationClockMode::steady);
    const std::function<void()> inputs[] = {
        [&] { view->mouseDown({}); },
        [&] { view->mouseDragged({}), view->mouseUp({}); },
        [&] { view->otherMouseDown({}); },
        [&] { view->otherMouseDragged({}), view->otherMouseUp({}); },
        [&] { view->scrollWheel({.location = {}, .deltaX = 1}); },
        [&] { view->magnifyWithEvent({}); },
        [&] { (void)view->keyDown({.code = KeyCode::leftArrow}); },
        [&] { (void)view->performKeyEquivalent({.character = U'0', .modifiers = kCommand}); },
        [&] { view->resumeLiveFollow(); },
        [&] { view->jumpToOldest(); },
        [&] { view->zoomOut(); },
    };
    for (std::size_t i = 0; i < std::size(inputs); ++i) {
        clock.advance(std::chrono::seconds(2));
        EXPECT_EQ(view->preferredClockMode(), AnimationClockMode::steady) << i;
        inputs[i]();
        EXPECT_EQ(view->preferredClockMode(), AnimationClockMode::vsync) << i;
    }
}

TEST_F(WaveformViewTest, TheButtonPausesAndResumesForGood) {
    {
        WaveformViewContainer container(view);
        EXPECT_EQ(container.followHelpText(), "Pause live follow");
        container.pressFollowButton();
        EXPECT_EQ(container.followHelpText(), "Resume live follow");
        record(1);
        tick(60);
        for (int i = 0; i < 30; ++i) // to the live edge
            (void)view->keyDown({.code = KeyCode::rightArrow});
        tick(60);
        EXPECT_FALSE(container.isFollowingLive().get());
        click(100);
        container.pressFollowButton();
        EXPECT_TRUE(container.isFollowingLive().get());
        EXPECT_FALSE(marks().insertMarkerFrame);
        EXPECT_EQ(WaveformViewContainer::followButtonRect({800, 200}), (Rect{757, 13, 30, 30}));
    }
    EXPECT_FALSE(view->onFollowLiveChanged); // nobody is told any more
}

} // namespace
} // namespace rewindle::test
