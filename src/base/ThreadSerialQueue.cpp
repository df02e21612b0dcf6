#include "base/ThreadSerialQueue.h"

#include <utility>

namespace rewindle {

ThreadSerialQueue::ThreadSerialQueue(std::string label) : label_(std::move(label)), thread_([this] { run(); }) {}

ThreadSerialQueue::~ThreadSerialQueue() {
    ending_ = true;
    wake();
    thread_.join();
}

bool ThreadSerialQueue::isCurrent() const {
    return std::this_thread::get_id() == thread_.get_id();
}

void ThreadSerialQueue::async(Work work) {
    due_.add(std::move(work));
    wake();
}

DelayedWork ThreadSerialQueue::asyncAfter(std::chrono::nanoseconds delay, Work work) {
    auto delayed = due_.addAfter(delay, std::move(work));
    wake();
    return delayed;
}

void ThreadSerialQueue::wake() {
    {
        const std::lock_guard hold(mutex_);
        woken_ = true;
    }
    changed_.notify_one();
}

void ThreadSerialQueue::sleepUntilDue() {
    const auto left = due_.untilNext();
    const auto woken = [this] { return std::exchange(woken_, false); }; // also by what came since that look
    std::unique_lock hold(mutex_);
    if (left) {
        changed_.wait_for(hold, *left, woken);
    } else {
        changed_.wait(hold, woken);
    }
}

void ThreadSerialQueue::run() {
    while (!ending_) {
        if (!due_.runNext()) sleepUntilDue();
    }
    due_.close();
}

} // namespace rewindle
