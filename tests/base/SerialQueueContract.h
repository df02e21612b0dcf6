#pragma once

#include "base/SerialQueue.h"

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <numeric>
#include <optional>
#include <thread>
#include <vector>

namespace rewindle::test {

/// A queue with the label "a queue", and what lets it work.
class QueueUnderTest {
public:
    virtual ~QueueUnderTest() = default;
    virtual SerialQueue& queue() = 0;
    /// Destroys the queue.
    virtual void end() = 0;
    /// Lets the queue run its work, and time pass for what was put off, until `done`.
    virtual void runUntil(const std::function<bool()>& done) = 0;
    /// Calls `work` as somebody who is not on the queue, and lets the queue run meanwhile.
    virtual void callFromOutside(const std::function<void()>& work) { work(); }
};

template <class Queue>
class QueueOnItsThread final : public QueueUnderTest {
public:
    SerialQueue& queue() override { return *queue_; }
    void end() override { queue_.reset(); }
    void runUntil(const std::function<bool()>& done) override {
        while (!done())
            std::this_thread::yield();
    }

private:
    std::optional<Queue> queue_{"a queue"};
};

using MakeQueue = std::unique_ptr<QueueUnderTest> (*)();
template <class Subject>
std::unique_ptr<QueueUnderTest> makeQueue() {
    return std::make_unique<Subject>();
}

/// What every queue promises, whatever its thread waits in.
class SerialQueueThreads : public testing::TestWithParam<MakeQueue> {
protected:
    SerialQueue& queue() { return subject->queue(); }
    SerialQueue::Work mark(int number) {
        return [this, number] { ran.push_back(number); };
    }
    void onQueue(const SerialQueue::Work& work) {
        subject->callFromOutside([&] { queue().sync(work); });
    }
    /// Returns when work that was put off before by less than `longest` has run.
    void letPass(std::chrono::milliseconds longest) {
        queue().asyncAfter(longest, [this] { passed = true; });
        subject->runUntil([this] { return passed.load(); });
    }

    std::vector<int> ran; // touched on the queue, read after onQueue or letPass
    std::atomic<bool> passed = false;
    std::unique_ptr<QueueUnderTest> subject = GetParam()();
};

TEST_P(SerialQueueThreads, RunsWorkAsItCameAheadOfAllThatWasPutOffAndThatByItsTimes) {
    using namespace std::chrono_literals;
    onQueue([&] { // nothing runs before all of it waits
        queue().asyncAfter(20ms, mark(5));
        queue().asyncAfter(0ms, mark(3)); // due before the next two come
        queue().asyncAfter(10ms, mark(4));
        queue().async(mark(1));
        queue().async(mark(2));
    });
    letPass(30ms);
    EXPECT_THAT(ran, testing::ElementsAre(1, 2, 3, 4, 5));
}

TEST_P(SerialQueueThreads, DropsCancelledWorkAndOnlyThat) {
    using namespace std::chrono_literals;
    DelayedWork first, second, third;
    onQueue([&] {
        first = queue().asyncAfter(10ms, mark(1));
        second = queue().asyncAfter(0ms, mark(2));
        third = queue().asyncAfter(20ms, mark(3));
        second.cancel(); // is due, but has not begun
        second.cancel();
    });
    DelayedWork().cancel();
    letPass(30ms);
    EXPECT_THAT(ran, testing::ElementsAre(1, 3));
    first.cancel(); // done already
}

TEST_P(SerialQueueThreads, RunsSynchronousWorkBehindWhatCameBeforeAndDirectlyWhenAlreadyThere) {
    EXPECT_EQ(queue().label(), "a queue");
    subject->callFromOutside([&] {
        EXPECT_FALSE(queue().isCurrent());
        queue().async(mark(1));
        queue().sync([&] {
            EXPECT_TRUE(queue().isCurrent());
            queue().async(mark(4));
            mark(2)();
            queue().sync(mark(3));
        });
        queue().sync([] {});
    });
    EXPECT_THAT(ran, testing::ElementsAre(1, 2, 3, 4));
}

TEST_P(SerialQueueThreads, LosesNoWorkOfManyThreadsAndKeepsEachOnesOrder) {
    std::vector<std::vector<int>> ranOf(4); // touched on the queue only
    {
        std::vector<std::jthread> threads;
        threads.reserve(ranOf.size());
        for (auto& mine : ranOf) {
            threads.emplace_back([&] {
                for (int i = 0; i < 500; ++i)
                    queue().async([&mine, i] { mine.push_back(i); });
            });
        }
    }
    onQueue([] {});
    std::vector<int> expected(500);
    std::iota(expected.begin(), expected.end(), 0);
    for (const auto& of : ranOf)
        EXPECT_EQ(of, expected);
}

TEST_P(SerialQueueThreads, FinishesRunningWorkAtItsEndAndDropsTheRestWithWhatItHolds) {
    using namespace std::chrono_literals;
    std::atomic<bool> begun = false, ended = false;
    bool finished = false;
    SerialQueue& ending = queue();
    const auto held = std::make_shared<int>(0);
    // Given up with the work, it gives more work, as an object may that ends with it.
    const auto parting = [&] {
        return std::shared_ptr<void>(nullptr, [&ending, held](void*) { ending.async([held] {}); });
    };
    const auto give = [&] {
        ending.asyncAfter(1h, [end = parting()] { FAIL(); });
        ending.async([&ended, end = parting()] { EXPECT_FALSE(ended); });
    };
    ending.async([&] {
        begun = true;
        for (int i = 0; i < 1000; ++i)
            std::this_thread::yield(); // a queue with a thread is most likely still here when it ends
        finished = true;
        give();
    });
    subject->runUntil([&] { return begun.load(); });
    subject->end();
    ended = true;
    EXPECT_TRUE(finished);
    EXPECT_EQ(held.use_count(), 1);
}

} // namespace rewindle::test
