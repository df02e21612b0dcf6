#include "host/pipewire/PipeWireLoopQueue.h"

#include "base/SerialQueueContract.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>

namespace rewindle::test {

INSTANTIATE_TEST_SUITE_P(PipeWireLoop, SerialQueueThreads,
                         testing::Values(&makeQueue<QueueOnItsThread<PipeWireLoopQueue>>));

namespace {

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
