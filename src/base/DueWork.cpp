#include "base/DueWork.h"

#include <algorithm>

namespace rewindle {

void DueWork::add(Work work) {
    // The smallest time keeps such work in order, and ahead of everything that was put off.
    insert(std::chrono::nanoseconds::min(), {std::move(work), nullptr});
}

DelayedWork DueWork::addAfter(std::chrono::nanoseconds delay, Work work) {
    auto cancelled = std::make_shared<std::atomic<bool>>(false);
    insert(clock_.uptime() + delay, {std::move(work), cancelled});
    return DelayedWork(std::move(cancelled));
}

void DueWork::insert(std::chrono::nanoseconds due, Entry entry) {
    const std::lock_guard hold(lock_);
    if (!closed_) entries_.emplace(due, std::move(entry));
}

bool DueWork::runNext() {
    while (const auto next = takeNext()) {
        if (next.mapped().isCancelled()) continue;
        next.mapped().work();
        return true;
    }
    return false;
}

/// Takes out the first entry, if it is due or cancelled; else nothing.
DueWork::Entries::node_type DueWork::takeNext() {
    const std::lock_guard hold(lock_);
    if (entries_.empty()) return {};
    const auto first = entries_.begin();
    if (first->first > clock_.uptime() && !first->second.isCancelled()) return {};
    return entries_.extract(first);
}

std::optional<std::chrono::nanoseconds> DueWork::untilNext() const {
    const std::lock_guard hold(lock_);
    const auto next = std::ranges::find_if(entries_, [](const auto& entry) { return !entry.second.isCancelled(); });
    if (next == entries_.end()) return std::nullopt;
    const auto now = clock_.uptime();
    return std::max(next->first, now) - now;
}

std::size_t DueWork::count() const {
    const std::lock_guard hold(lock_);
    return entries_.size();
}

void DueWork::close() {
    Entries dropped;
    const std::lock_guard hold(lock_); // released before `dropped`
    closed_ = true;
    dropped.swap(entries_);
}

} // namespace rewindle
