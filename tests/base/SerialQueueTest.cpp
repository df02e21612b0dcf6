#include "base/SerialQueueContract.h"
#include "base/ThreadSerialQueue.h"
#include "fakes/ManualSerialQueue.h"

namespace rewindle::test {
namespace {

class ManualQueueUnderTest final : public QueueUnderTest {
public:
    SerialQueue& queue() override { return *queue_; }
    void end() override { queue_.reset(); }
    void runUntil(const std::function<bool()>& done) override {
        while (!done()) {
            if (queue_->runDue() == 0) clock_.setUptime(queue_->nextDue().value());
        }
    }

private:
    ManualClock clock_;
    std::optional<ManualSerialQueue> queue_{std::in_place, "a queue", clock_};
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Manual, SerialQueueThreads, testing::Values(&makeQueue<ManualQueueUnderTest>));
INSTANTIATE_TEST_SUITE_P(Thread, SerialQueueThreads,
                         testing::Values(&makeQueue<QueueOnItsThread<ThreadSerialQueue>>));

} // namespace rewindle::test
