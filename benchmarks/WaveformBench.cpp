#include "Bench.h"
#include "LinearRead.h"
#include "PageMemory.h"

#include "base/Clock.h"
#include "waveform/WaveformView.h"

#include <memory>
#include <mutex>

namespace rewindle::bench {
namespace {

/// A clock that gives the time of the next tick, 1/60 s on.
class TickingClock final : public Clock {
public:
    [[nodiscard]] std::chrono::nanoseconds uptime() const override { return now; }
    [[nodiscard]] std::chrono::milliseconds wallTime() const override { return {}; }
    std::chrono::nanoseconds now = std::chrono::seconds(1'000);
};

struct NullHost final : WaveformViewHost, CaptureFreeze, ClipSaver, ClipPasteboard, ClipDragSource {
    void setNeedsDisplay() override {}
    void setCursor(CursorShape) override {}
    void makeFirstResponder() override {}
    [[nodiscard]] std::optional<Point> pointerLocation() const override { return std::nullopt; }
    void beep() override {}
    [[nodiscard]] bool isFrozen() const override { return true; }
    void setFrozen(bool) override {}
    void saveClip(std::optional<ClipRange>, ClipSaver::Completion, Progress) override {}
    void copyClip(const ClipRange&, ClipPasteboard::Completion) override {}
    bool beginDrag(const ClipRange&, const Rect&, const MouseEvent&, std::function<void()>) override { return false; }
};

/// As a player does: a flag behind a lock.
class IdleAudition final : public AuditionControl {
public:
    [[nodiscard]] bool isPlaying() const override {
        const std::lock_guard hold(mutex_);
        return playing_;
    }
    [[nodiscard]] std::optional<double> currentPlaybackFrame() const override { return std::nullopt; }
    void play(const std::shared_ptr<AudioRingBuffer>&, std::int64_t, std::int64_t, float) override {}
    void stop(const std::shared_ptr<AudioRingBuffer>&) override {}

private:
    mutable std::mutex mutex_;
    bool playing_ = false;
};

struct NullRenderer final : WaveformRenderer {
    void render(const WaveformFrame& frame, std::span<const float> minima, std::span<const float>) override {
        keep(&frame);
        keep(minima.data());
    }
};

/// A view of 1600 x 238 points on a full buffer of 600 s, zoomed out.
struct Scene {
    Scene() {
        std::vector<float> samples(AudioRingBuffer::kFramesPerSecond);
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = static_cast<float>(i % 997) / 997 - 0.5F;
        AudioPCMBuffer buffer;
        buffer.frameLength = AudioRingBuffer::kFramesPerSecond;
        buffer.channels = {samples.data(), samples.data()};
        for (int second = 0; second <= 600; ++second)
            ring->append(buffer);
        view->setBoundsSize({1'600, 238});
        view->setRingBuffer(ring);
    }
    void tick() {
        clock.now += std::chrono::nanoseconds(16'666'667);
        view->displayLinkTick();
    }

    TickingClock clock;
    PageMemory memory;
    NullHost host;
    IdleAudition audition;
    NullRenderer renderer;
    FrameTimingLog timingLog{{}, clock};
    std::shared_ptr<AudioRingBuffer> ring = std::make_shared<AudioRingBuffer>(600, memory);
    std::shared_ptr<WaveformView> view = std::make_shared<WaveformView>(
        WaveformView::Services{host, clock, host, audition, host, host, host, timingLog, std::nullopt});
};

std::vector<Row> tickRows() {
    auto scene = std::make_shared<Scene>();
    scene->view->setRenderer(&scene->renderer);
    scene->tick(); // the only one that draws
    auto mutex = std::make_shared<std::mutex>();
    return {{"tick without redraw, 600 s", "four uncontended lock round trips", 3.0, [scene] { scene->tick(); },
             [mutex] {
                 for (int i = 0; i < 4; ++i) {
                     const std::lock_guard hold(*mutex);
                     keep(mutex.get());
                 }
             }}};
}

std::vector<Row> frameRows() {
    auto scene = std::make_shared<Scene>();
    scene->view->setRenderer(&scene->renderer);
    const auto buckets = static_cast<std::size_t>(scene->ring->bucketCount);
    auto minima = std::make_shared<std::vector<float>>(buckets, -0.5F);
    auto maxima = std::make_shared<std::vector<float>>(buckets, 0.5F);
    return {{"columns and frame of 1600 points, 600 s", "linear read of both arrays", 3.0,
             [scene] {
                 scene->view->markDirty();
                 scene->tick();
             },
             [minima, maxima] {
                 const float result = linearRead(*minima) + linearRead(*maxima);
                 keep(&result);
             }}};
}

const Registration tick({"tick", tickRows});
const Registration frame({"frame", frameRows});

} // namespace
} // namespace rewindle::bench
