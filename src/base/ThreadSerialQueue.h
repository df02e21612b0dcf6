#pragma once

#include "base/SerialQueue.h"

#include <condition_variable>
#include <cstdint>
#include <map>
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
    using TimePoint = std::chrono::steady_clock::time_point;
    struct Entry {
        Work work;
        std::shared_ptr<std::atomic<bool>> cancelled; // null when it cannot be cancelled
    };

    void insert(TimePoint due, Entry entry);
    void run();

    const std::string label_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::multimap<TimePoint, Entry> due_; // equal times keep their order of insertion
    bool ending_ = false;
    std::thread thread_; // last: starts when everything above is there
};

} // namespace rewindle
