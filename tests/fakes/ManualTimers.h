#pragma once

#include "platform/RepeatingTimer.h"

#include <map>
#include <utility>

namespace rewindle::test {

/// Timers that fire when the test says so.
class ManualTimers final : public RepeatingTimers {
public:
    [[nodiscard]] std::unique_ptr<RepeatingTimer> make(std::chrono::nanoseconds interval,
                                                       std::function<void()> onFire) override {
        return std::make_unique<Timer>(*this, interval, std::move(onFire));
    }

    [[nodiscard]] bool runs(std::chrono::nanoseconds interval) const { return timers_.contains(interval); }
    /// False when no timer of that interval runs.
    bool fire(std::chrono::nanoseconds interval) {
        const auto timer = timers_.find(interval);
        if (timer == timers_.end()) return false;
        const auto onFire = timer->second->onFire; // held: the timer may end in it
        (*onFire)();
        return true;
    }

private:
    struct Timer final : RepeatingTimer {
        Timer(ManualTimers& owner, std::chrono::nanoseconds every, std::function<void()> handler)
            : timers(owner), interval(every), onFire(std::make_shared<std::function<void()>>(std::move(handler))) {
            timers.timers_.emplace(interval, this);
        }
        ~Timer() override {
            std::erase_if(timers.timers_, [this](const auto& entry) { return entry.second == this; });
        }

        ManualTimers& timers;
        std::chrono::nanoseconds interval;
        std::shared_ptr<std::function<void()>> onFire;
    };

    std::multimap<std::chrono::nanoseconds, Timer*> timers_;
};

} // namespace rewindle::test
