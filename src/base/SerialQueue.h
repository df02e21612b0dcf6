#pragma once

#include <atomic>
#include <cassert>
#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace rewindle {

/// Handle on work that was put off: lets its owner call it off. Copies refer to the same work.
class DelayedWork {
public:
    DelayedWork() = default;
    explicit DelayedWork(std::shared_ptr<std::atomic<bool>> cancelled) : cancelled_(std::move(cancelled)) {}

    /// From the work's own queue: it will not run. From elsewhere it may just have begun. Safe when empty or
    /// done.
    void cancel() {
        if (cancelled_) cancelled_->store(true, std::memory_order_relaxed);
    }

private:
    std::shared_ptr<std::atomic<bool>> cancelled_;
};

/// Runs pieces of work one after the other, in the order in which they came, on one thread. Work that was put off goes by
/// its time, behind all that is not put off.
///
/// Threads: every method may be called from any thread.
/// Errors:  work must not throw.
/// Lifecycle: work still waiting when the queue is destroyed is dropped; so is work given to a queue that
/// ended.
class SerialQueue {
public:
    using Work = std::function<void()>;
    virtual ~SerialQueue() = default;

    [[nodiscard]] virtual const std::string& label() const = 0;
    /// Returns at once; `work` runs later, also when called from the queue itself.
    virtual void async(Work work) = 0;
    /// The same, not before `delay` has passed.
    virtual DelayedWork asyncAfter(std::chrono::nanoseconds delay, Work work) = 0;
    /// True on the thread that is running this queue's work.
    [[nodiscard]] virtual bool isCurrent() const = 0;

    /// Runs `work` on the queue and returns when it is done; runs it directly when already there.
    virtual void sync(const Work& work);

    /// For functions that belong to one queue: a call from elsewhere is a bug.
    void assertCurrent() const { assert(isCurrent()); }
};

} // namespace rewindle
