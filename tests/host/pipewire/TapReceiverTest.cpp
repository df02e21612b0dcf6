#include "host/pipewire/TapReceiver.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/ManualClock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>

namespace rewindle::test {
namespace {

constexpr std::uint32_t kCycle = 1'024;

/// What comes out when stopping finds cycles of these levels waiting, one after the other: one value a cycle.
std::vector<float> deliveredAtTheEnd(const std::vector<float>& levels) {
    ManualClock clock;
    CapturingLogSink log;
    PipeWireLoopQueue queue("capture");
    const std::atomic<DeliveryPace> pace{DeliveryPace::relaxed};
    TroubleCounters troubles;
    std::vector<float> out;
    queue.sync([&] { // at a stretch, so that no timer delivers in between
        const auto collect = [&](AudioBufferList input) {
            const auto* samples = static_cast<const float*>(input[0].data);
            out.insert(out.end(), samples, samples + input[0].byteSize / sizeof(float));
        };
        TapReceiver receiver({48'000, {"FL", "FR"}, 2048}, queue, clock, log, pace, troubles, collect, {});
        receiver.start();
        for (std::size_t i = 0; i < levels.size(); ++i) {
            const std::vector<float> samples(kCycle, levels[i]);
            const auto time = clock.uptime().count() + static_cast<std::int64_t>(i) * kCycle * 1'000'000 / 48;
            const std::array<const float*, 2> channels{samples.data(), samples.data()};
            receiver.receive({time, i * kCycle, kCycle, 48'000}, channels);
        }
        receiver.finish();
    });
    std::vector<float> cycles;
    for (std::size_t i = 0; i < out.size(); i += kCycle)
        cycles.push_back(out[i]);
    return cycles;
}

TEST(TapReceiver, StopsWithTheSoundItHeardButWithoutTheEmptyCyclesAroundIt) {
    std::vector<float> withSilenceInside{1};
    withSilenceInside.insert(withSilenceInside.end(), 40, 0.0F); // 0.85 s
    withSilenceInside.push_back(2);
    std::vector<float> withSilenceLast(withSilenceInside.begin(), withSilenceInside.end() - 1);
    EXPECT_EQ(deliveredAtTheEnd({1, 2, 3}), (std::vector<float>{1, 2, 3}));
    EXPECT_EQ(deliveredAtTheEnd({0, 1, 2, 0, 0}), (std::vector<float>{1, 2}));
    EXPECT_EQ(deliveredAtTheEnd(withSilenceInside), withSilenceInside);
    EXPECT_EQ(deliveredAtTheEnd(withSilenceLast), withSilenceLast);
}

/// Work that puts itself on the queue again and again, as a long copy does.
void workOn(PipeWireLoopQueue& queue, const std::atomic<bool>& done, std::atomic<int>& stepsLeft) {
    if (!done && --stepsLeft > 0) queue.async([&] { workOn(queue, done, stepsLeft); });
}

TEST(PipeWireLoopQueue, AnswersSignalsBetweenTheStepsOfWorkThatGoesOn) {
    PipeWireLoopQueue queue("capture");
    std::atomic<bool> signalled = false;
    std::atomic<int> stepsLeft = 100'000;
    std::optional<PipeWireLoopQueue::Signal> signal;
    queue.sync([&] {
        signal.emplace(queue, [&] { signalled = true; });
        signal->trigger();
        workOn(queue, signalled, stepsLeft);
    });
    while (!signalled && stepsLeft > 0)
        queue.sync([] {});
    EXPECT_GT(stepsLeft, 0);
    queue.sync([&] { signal.reset(); });
}

} // namespace
} // namespace rewindle::test
