#include "base/ThreadSerialQueue.h"
#include "fakes/ManualSerialQueue.h"

#include <gmock/gmock.h>

#include <future>
#include <numeric>

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// What every queue promises: the manual one and one on a thread.
class SerialQueueThreads : public testing::TestWithParam<bool> {
protected:
    SerialQueue& queue() { return GetParam() ? static_cast<SerialQueue&>(manual) : thread; }
    /// Returns when work put off by up to `longest` has run.
    void letPass(std::chrono::milliseconds longest) {
        std::promise<void> passed; // work that is due later than all else
        queue().asyncAfter(longest, [&] { passed.set_value(); });
        clock.advance(longest);
        manual.runDue();
        passed.get_future().wait();
    }
    SerialQueue::Work mark(int number) {
        return [this, number] { ran.push_back(number); };
    }

    std::vector<int> ran; // touched on the queue, read after sync or letPass
    ManualClock clock;
    ManualSerialQueue manual{"a queue", clock};
    ThreadSerialQueue thread{"a queue"};
};

TEST_P(SerialQueueThreads, RunsDelayedWorkInTheOrderOfItsTimesBehindWhatIsDue) {
    queue().asyncAfter(30ms, mark(3));
    queue().asyncAfter(10ms, mark(1));
    queue().asyncAfter(20ms, mark(2));
    queue().async(mark(0));
    letPass(40ms);
    EXPECT_THAT(ran, ElementsAre(0, 1, 2, 3));
}

TEST_P(SerialQueueThreads, DropsCancelledWorkAndOnlyThat) {
    auto first = queue().asyncAfter(10ms, mark(1));
    auto second = queue().asyncAfter(20ms, mark(2));
    auto third = queue().asyncAfter(30ms, mark(3));
    queue().sync([&] {
        second.cancel();
        second.cancel();
    });
    DelayedWork().cancel();
    letPass(40ms);
    EXPECT_THAT(ran, ElementsAre(1, 3));
    first.cancel(); // done already
}

TEST_P(SerialQueueThreads, RunsSynchronousWorkBehindWhatCameBeforeAndDirectlyWhenAlreadyThere) {
    queue().async(mark(1));
    queue().sync([&] {
        queue().async(mark(4));
        mark(2)();
        queue().sync(mark(3));
    });
    queue().sync([] {});
    EXPECT_THAT(ran, ElementsAre(1, 2, 3, 4));
}

TEST_P(SerialQueueThreads, IsCurrentOnlyForItsOwnWork) {
    EXPECT_FALSE(queue().isCurrent());
    queue().sync([&] { EXPECT_TRUE(queue().isCurrent()); });
    EXPECT_EQ(queue().label(), "a queue");
}

INSTANTIATE_TEST_SUITE_P(Queues, SerialQueueThreads, testing::Bool(),
                         [](const auto& tested) { return tested.param ? "Manual" : "Thread"; });

TEST(ThreadSerialQueueThreads, LosesNoWorkOfManyThreadsAndKeepsEachOnesOrder) {
    std::vector<std::vector<int>> ran(4); // touched on the queue only
    ThreadSerialQueue queue("many");
    {
        std::vector<std::jthread> threads;
        threads.reserve(ran.size());
        for (auto& mine : ran) {
            threads.emplace_back([&queue, &mine] {
                for (int i = 0; i < 500; ++i)
                    queue.async([&mine, i] { mine.push_back(i); });
            });
        }
    }
    queue.sync([] {});
    std::vector<int> expected(500);
    std::iota(expected.begin(), expected.end(), 0);
    for (const auto& of : ran)
        EXPECT_EQ(of, expected);
}

TEST(ThreadSerialQueueThreads, FinishesRunningWorkAndDropsTheRestWhenDestroyed) {
    std::promise<void> begun;
    bool finished = false, laterRan = false;
    const auto held = std::make_shared<int>(0);
    {
        ThreadSerialQueue queue("ends early");
        queue.asyncAfter(1h, [&laterRan, held] { laterRan = true; });
        queue.async([&] {
            begun.set_value();
            for (int i = 0; i < 1000; ++i)
                std::this_thread::yield(); // most likely still here when the queue ends
            finished = true;
            queue.asyncAfter(1h, [&laterRan, held] { laterRan = true; }); // to a queue that ends
        });
        begun.get_future().wait();
    }
    EXPECT_TRUE(finished);
    EXPECT_FALSE(laterRan);
    EXPECT_EQ(held.use_count(), 1) << "dropped work keeps what it captured";
}

} // namespace
} // namespace rewindle::test
