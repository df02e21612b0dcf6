#include "host/process/QtMainQueue.h"

#include "host/PrivateBus.h"

#include <gmock/gmock.h>

#include <thread>
#include <vector>

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// The queue of this thread, whose event loop runs while a test waits.
class QtMainQueueTest : public testing::Test {
protected:
    SerialQueue::Work mark(int number) {
        return [this, number] {
            EXPECT_TRUE(queue->isCurrent());
            marks.push_back(number);
        };
    }

    std::optional<QtMainQueue> queue{"main"};
    std::vector<int> marks;
};

TEST_F(QtMainQueueTest, RunsWorkFromAnyThreadInOrderAndNeverAtOnce) {
    queue->async(mark(1));
    std::jthread([&] {
        EXPECT_FALSE(queue->isCurrent());
        queue->async(mark(2));
        queue->async(mark(3));
    }).join();
    EXPECT_TRUE(marks.empty());
    EXPECT_TRUE(runUntil([&] { return marks.size() == 3; }));
    EXPECT_THAT(marks, ElementsAre(1, 2, 3));
}

TEST_F(QtMainQueueTest, DelayedWorkRunsWhenDueUnlessItIsCalledOff) {
    std::jthread([&] { // from another thread, which has no timers of this one
        queue->asyncAfter(60ms, mark(3));
        queue->asyncAfter(20ms, mark(1));
        queue->asyncAfter(40ms, mark(2)).cancel();
    })
        .join();
    EXPECT_TRUE(runUntil([&] { return marks.size() == 2; }));
    EXPECT_THAT(marks, ElementsAre(1, 3));
}

TEST_F(QtMainQueueTest, SyncReturnsWhenTheWorkIsDone) {
    std::atomic<bool> returned = false;
    std::jthread caller([&] {
        queue->sync(mark(1));
        returned = true;
    });
    queue->sync(mark(2)); // on the queue already: at once
    EXPECT_THAT(marks, ElementsAre(2));
    EXPECT_TRUE(runUntil([&] { return returned.load(); }));
    EXPECT_THAT(marks, ElementsAre(2, 1));
}

TEST_F(QtMainQueueTest, DropsWhatStillWaitsAtItsEnd) {
    bool last = false;
    QtMainQueue other("other");
    queue->async(mark(1));
    queue->asyncAfter(1ms, mark(2));
    queue.reset();
    other.asyncAfter(5ms, [&] { last = true; });
    EXPECT_TRUE(runUntil([&] { return last; }));
    EXPECT_TRUE(marks.empty());
}

} // namespace
} // namespace rewindle::test
