#pragma once

#include "base/Clock.h"
#include "base/DueWork.h"
#include "base/SerialQueue.h"

#include <condition_variable>
#include <mutex>
#include <thread>

namespace rewindle {

/// A `SerialQueue` on a worker thread of its own, which sleeps while nothing is due.
///
/// Lifecycle: the destructor lets the running work end, drops the rest and joins. Not from the queue itself.
class ThreadSerialQueue final : public SerialQueue {
public:
    explicit ThreadSerialQueue(std::string label);
    ~ThreadSerialQueue() override;
    ThreadSerialQueue(const ThreadSerialQueue&) = delete;
    ThreadSerialQueue& operator=(const ThreadSerialQueue&) = delete;

    [[nodiscard]] const std::string& label() const override { return label_; }
    void async(Work work) override;
    DelayedWork asyncAfter(std::chrono::nanoseconds delay, Work work) override;
    [[nodiscard]] bool isCurrent() const override;

private:
    void wake();
    void sleepUntilDue();
    void run();

    const std::string label_;
    const SystemClock clock_;
    DueWork due_{clock_};
    std::atomic<bool> ending_ = false;
    std::mutex mutex_; // guards `woken_`
    std::condition_variable changed_;
    bool woken_ = false; // since the thread looked last
    std::thread thread_; // last: starts when everything above is there
};

} // namespace rewindle
