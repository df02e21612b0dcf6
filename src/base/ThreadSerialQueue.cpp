#include "base/ThreadSerialQueue.h"

namespace rewindle {

ThreadSerialQueue::ThreadSerialQueue(std::string label) : label_(std::move(label)), thread_([this] { run(); }) {}

ThreadSerialQueue::~ThreadSerialQueue() {
    {
        const std::lock_guard hold(mutex_);
        ending_ = true;
    }
    changed_.notify_one();
    thread_.join();
}

bool ThreadSerialQueue::isCurrent() const {
    return std::this_thread::get_id() == thread_.get_id();
}

void ThreadSerialQueue::async(Work work) {
    // The smallest time keeps immediate work in order, and ahead of everything that was put off.
    insert(TimePoint::min(), {std::move(work), nullptr});
}

DelayedWork ThreadSerialQueue::asyncAfter(std::chrono::nanoseconds delay, Work work) {
    auto cancelled = std::make_shared<std::atomic<bool>>(false);
    insert(std::chrono::steady_clock::now() + delay, {std::move(work), cancelled});
    return DelayedWork(std::move(cancelled));
}

void ThreadSerialQueue::insert(TimePoint due, Entry entry) {
    {
        const std::lock_guard hold(mutex_);
        if (ending_) return;
        due_.emplace(due, std::move(entry));
    }
    changed_.notify_one();
}

void ThreadSerialQueue::run() {
    std::unique_lock hold(mutex_);
    while (!ending_) {
        if (due_.empty()) {
            changed_.wait(hold);
            continue;
        }
        const auto first = due_.begin();
        if (first->first > std::chrono::steady_clock::now()) {
            changed_.wait_until(hold, TimePoint(first->first));
            continue;
        }
        Entry entry = std::move(first->second);
        due_.erase(first);
        hold.unlock();
        if (!entry.cancelled || !entry.cancelled->load(std::memory_order_relaxed)) entry.work();
        entry = {}; // what the work holds is released outside the lock
        hold.lock();
    }
    auto dropped = std::move(due_);
    due_.clear();
    hold.unlock();
}

} // namespace rewindle
