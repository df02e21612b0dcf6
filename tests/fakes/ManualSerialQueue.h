#pragma once

#include "base/SerialQueue.h"
#include "fakes/ManualClock.h"

#include <map>
#include <optional>

namespace rewindle::test {

/// A queue whose work runs when the test says so, on the test's thread, in order of its due time.
class ManualSerialQueue final : public SerialQueue {
public:
    ManualSerialQueue(std::string label, ManualClock& clock) : label_(std::move(label)), clock_(clock) {}

    [[nodiscard]] const std::string& label() const override { return label_; }
    void async(Work work) override { entries_.emplace(clock_.uptime(), Entry{std::move(work), nullptr}); }
    DelayedWork asyncAfter(std::chrono::nanoseconds delay, Work work) override {
        auto cancelled = std::make_shared<std::atomic<bool>>(false);
        entries_.emplace(clock_.uptime() + delay, Entry{std::move(work), cancelled});
        return DelayedWork(std::move(cancelled));
    }
    /// Runs what is due first, as the thread of a real queue would, then `work`.
    void sync(const Work& work) override {
        if (isCurrent()) return work();
        runDue();
        runOne(work);
    }
    [[nodiscard]] bool isCurrent() const override { return depth_ > 0; }

    /// Runs everything that is due now, also what that adds; returns how much ran.
    int runDue() {
        int ran = 0;
        for (; !entries_.empty() && entries_.begin()->first <= clock_.uptime(); ++ran) {
            const Entry entry = std::move(entries_.begin()->second);
            entries_.erase(entries_.begin());
            if (!entry.cancelled || !entry.cancelled->load()) runOne(entry.work);
        }
        return ran;
    }
    /// Time of the next work that is not cancelled; none when nothing waits.
    [[nodiscard]] std::optional<std::chrono::nanoseconds> nextDue() const {
        for (const auto& [due, entry] : entries_) {
            if (!entry.cancelled || !entry.cancelled->load()) return due;
        }
        return std::nullopt;
    }

private:
    struct Entry {
        Work work;
        std::shared_ptr<std::atomic<bool>> cancelled;
    };
    void runOne(const Work& work) {
        ++depth_;
        work();
        --depth_;
    }

    std::string label_;
    ManualClock& clock_;
    std::multimap<std::chrono::nanoseconds, Entry> entries_;
    int depth_ = 0;
};

} // namespace rewindle::test
