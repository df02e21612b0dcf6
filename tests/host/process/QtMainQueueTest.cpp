#include "host/process/QtMainQueue.h"

#include "base/SerialQueueContract.h"
#include "host/PrivateBus.h"

namespace rewindle::test {
namespace {

/// The queue of this thread, whose event loop runs while a test waits.
class QtQueueUnderTest final : public QueueUnderTest {
public:
    SerialQueue& queue() override { return *queue_; }
    void end() override {
        queue_.reset();
        QCoreApplication::processEvents(); // nothing is left of it in the loop
    }
    void runUntil(const std::function<bool()>& done) override { EXPECT_TRUE(test::runUntil(done)); }
    void callFromOutside(const std::function<void()>& work) override {
        std::atomic<bool> returned = false;
        const std::jthread caller([&] {
            work();
            returned = true;
        });
        runUntil([&] { return returned.load(); });
    }

private:
    std::optional<QtMainQueue> queue_{"a queue"};
};

TEST(QtMainQueue, GoesOnInsideAnEventLoopThatItsWorkRuns) {
    using namespace std::chrono_literals;
    QtMainQueue queue("main");
    bool laterRan = false;
    bool returned = false;
    queue.asyncAfter(1ms, [&] { // a dialog, say
        EXPECT_TRUE(runUntil([&] { return laterRan; }));
        returned = true;
    });
    queue.asyncAfter(2ms, [&] { laterRan = true; });
    EXPECT_TRUE(runUntil([&] { return returned; }));
}

} // namespace

INSTANTIATE_TEST_SUITE_P(QtMain, SerialQueueThreads, testing::Values(&makeQueue<QtQueueUnderTest>));

} // namespace rewindle::test
