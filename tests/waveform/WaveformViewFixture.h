#pragma once

#include "capture/ring/RingSamples.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAnimatedWindow.h"
#include "fakes/HeapAudioMemory.h"
#include "fakes/ManualClock.h"
#include "fakes/ManualTimers.h"
#include "waveform/WaveformView.h"

#include <gmock/gmock.h>

#include <chrono>

namespace rewindle::test {

struct FakeWaveformHost final : WaveformViewHost {
    void setNeedsDisplay() override { needsDisplay = true; }
    void setCursor(CursorShape shape) override { cursor = shape; }
    void makeFirstResponder() override { isFirstResponder = true; }
    [[nodiscard]] std::optional<Point> pointerLocation() const override { return pointer; }
    void beep() override { ++beeps; }

    bool needsDisplay = false;
    bool isFirstResponder = false;
    CursorShape cursor = CursorShape::arrow;
    std::optional<Point> pointer;
    int beeps = 0;
};

struct FakeFreeze final : CaptureFreeze {
    [[nodiscard]] bool isFrozen() const override { return frozen; }
    void setFrozen(bool value) override { frozen = value; }
    bool frozen = false;
};

/// A player that gets round to what it is asked when the test lets it. `position` is moved by the test.
struct FakeAudition final : AuditionControl {
    struct Request {
        std::shared_ptr<AudioRingBuffer> ringBuffer;
        ClipRange range;
        float trimDB = 0;
    };
    [[nodiscard]] bool isPlaying() const override { return playing != nullptr; }
    [[nodiscard]] std::optional<double> currentPlaybackFrame() const override { return position; }
    void play(const std::shared_ptr<AudioRingBuffer>& ringBuffer, std::int64_t start, std::int64_t end,
              float trimDB) override {
        asked = std::make_shared<Request>(Request{ringBuffer, {start, end}, trimDB});
    }
    void stop(const std::shared_ptr<AudioRingBuffer>& ringBuffer) override {
        if (playing && playing->ringBuffer == ringBuffer) asked.reset();
    }
    void catchUp() {
        playing = asked;
        position = asked ? std::optional(static_cast<double>(asked->range.first)) : std::nullopt;
    }
    std::shared_ptr<const Request> asked, playing;
    std::optional<double> position;
};

/// All that takes clips.
struct FakeOutlets final : ClipSaver, ClipPasteboard, ClipDragSource {
    void saveClip(std::optional<ClipRange> range, ClipSaver::Completion completion, Progress progress) override {
        saves.push_back(range);
        finishSave = std::move(completion);
        tellProgress = std::move(progress);
    }
    void copyClip(const ClipRange& range, ClipPasteboard::Completion completion) override {
        copied = range;
        if (refuses) return completion(WaveformExportError::writeFailed({1, "refused"}));
        completion({});
    }
    bool beginDrag(const ClipRange& range, const Rect& rect, const MouseEvent&,
                   std::function<void()> ended) override {
        if (refuses) return false;
        dragged = range;
        draggedRect = rect;
        endDrag = std::move(ended);
        return true;
    }
    std::vector<std::optional<ClipRange>> saves;
    ClipSaver::Completion finishSave;
    ClipSaver::Progress tellProgress;
    std::optional<ClipRange> copied, dragged;
    Rect draggedRect;
    std::function<void()> endDrag;
    bool refuses = false;
};

struct FakeWaveformRenderer final : WaveformRenderer {
    void render(const WaveformFrame& frame, std::span<const float>, std::span<const float>) override {
        ++frames;
        last = frame;
    }
    int frames = 0;
    WaveformFrame last;
};

/// A view of 800 x 200 points on 40 s of half-loud audio, of which 30 s are retained: 1,800 frames per point.
class WaveformViewFixture : public testing::Test {
protected:
    static constexpr double kFramesPerPoint = 1'800;

    WaveformViewFixture() {
        theme.waveformTop = {1, 0, 0};
        theme.waveformBottom = {0, 1, 0};
        theme.head = {0, 0, 1};
        theme.headFrozen = {0, 1, 1};
        record(40);
        view->onFollowLiveChanged = [this](bool follows) { followReports.push_back(follows); };
        view->onExportFailure = [this](const auto& failure) { failures.push_back(failure); };
        view->setDriver(driver);
        view->setTheme(theme);
        view->setBoundsSize({800, 200});
        view->setRingBuffer(ring);
    }

    void record(double seconds, float level = 0.5F) {
        RingSamples samples(static_cast<std::int64_t>(seconds * 48'000), level, level);
        ring->append(samples.buffer());
    }
    void tick(int count = 1) {
        for (int i = 0; i < count; ++i) {
            clock.advance(std::chrono::nanoseconds(16'666'667));
            view->displayLinkTick();
        }
    }
    [[nodiscard]] const WaveformTimelineModel& timeline() const { return view->editor().timeline(); }
    [[nodiscard]] const WaveformMarks& marks() const { return view->editor().marks(); }
    [[nodiscard]] double frameAt(double x) const { return timeline().viewStartFrame + x * kFramesPerPoint; }

    void press(double x, ModifierFlags modifiers = {}) { view->mouseDown({{x, 100}, modifiers, ++presses}); }
    void moveTo(double x, double y = 100) { view->mouseDragged({{x, y}, {}, presses}); }
    void release(double x) { view->mouseUp({{x, 100}, {}, presses}); }
    void drag(double from, double to, ModifierFlags modifiers = {}) {
        press(from, modifiers);
        moveTo((from + to) / 2);
        moveTo(to);
        release(to);
    }
    void click(double x, ModifierFlags modifiers = {}) {
        press(x, modifiers);
        release(x);
    }

    static constexpr ModifierFlags kShift{.shift = true};
    static constexpr ModifierFlags kCommand{.command = true};

    ManualClock clock;
    ManualTimers timers;
    CapturingLogSink sink;
    FrameTimingLog timingLog{{}, clock};
    WindowAnimationDrivers drivers{{clock, timers, timingLog, sink}};
    std::shared_ptr<FakeAnimatedWindow> window = std::make_shared<FakeAnimatedWindow>();
    std::shared_ptr<WindowAnimationDriver> driver = drivers.driverFor(window);
    HeapAudioMemory memory;
    std::shared_ptr<AudioRingBuffer> ring = std::make_shared<AudioRingBuffer>(30, memory);
    FakeWaveformHost host;
    FakeFreeze freeze;
    FakeAudition audition;
    FakeOutlets outlets;
    FakeWaveformRenderer renderer;
    WaveformTheme theme;
    std::vector<bool> followReports;
    std::vector<std::optional<WaveformExportError>> failures;
    std::int64_t presses = 0;
    std::shared_ptr<WaveformView> view = std::make_shared<WaveformView>(
        WaveformView::Services{host, clock, freeze, audition, outlets, outlets, outlets, timingLog, std::nullopt});
};

} // namespace rewindle::test
