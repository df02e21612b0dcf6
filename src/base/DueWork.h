#pragma once

#include "base/Clock.h"
#include "base/SerialQueue.h"

#include <chrono>
#include <cstddef>
#include <map>
#include <mutex>
#include <optional>

namespace rewindle {

/// What a serial queue has still to run, and in which order: work for at once as it came, and ahead of all that was
/// put off; that by its times.
///
/// Threads:   every method may be called from any thread. Work runs, and what it captured is released, outside the
///            lock, so both may add work.
/// Lifecycle: the destructor closes.
class DueWork {
public:
    using Work = SerialQueue::Work;

    /// `clock` outlives it.
    explicit DueWork(const Clock& clock) : clock_(clock) {}
    ~DueWork() { close(); }
    DueWork(const DueWork&) = delete;
    DueWork& operator=(const DueWork&) = delete;

    void add(Work work);
    /// Work that is not due before `delay` has passed.
    DelayedWork addAfter(std::chrono::nanoseconds delay, Work work);

    /// Runs what comes next, if that is due; returns whether it did. Cancelled work on the way there is dropped.
    bool runNext();
    /// How long until something is due: zero when something is. Nothing when there is no work.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> untilNext() const;
    /// How many pieces of work wait, cancelled ones included.
    [[nodiscard]] std::size_t count() const;

    /// Drops what waits and, from now on, what is added.
    void close();

private:
    struct Entry {
        Work work;
        std::shared_ptr<std::atomic<bool>> cancelled; // null when it cannot be cancelled
        [[nodiscard]] bool isCancelled() const { return cancelled && cancelled->load(std::memory_order_relaxed); }
    };
    using Entries = std::multimap<std::chrono::nanoseconds, Entry>; // equal times keep their order of insertion

    void insert(std::chrono::nanoseconds due, Entry entry);
    [[nodiscard]] Entries::node_type takeNext();

    const Clock& clock_;
    mutable std::mutex lock_; // guards what follows
    Entries entries_;
    bool closed_ = false;
};

} // namespace rewindle
