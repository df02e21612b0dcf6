#include "host/windows/QtRepeatingTimers.h"

#include "host/windows/TimerFd.h"

#include <utility>

namespace rewindle {
namespace {

class KernelTimer final : public RepeatingTimer {
public:
    KernelTimer(std::chrono::nanoseconds interval, std::function<void()> onFire) : timer_(std::move(onFire)) {
        timer_.start(interval, interval);
    }

private:
    TimerFd timer_;
};

} // namespace

std::unique_ptr<RepeatingTimer> QtRepeatingTimers::make(std::chrono::nanoseconds interval,
                                                        std::function<void()> onFire) {
    return std::make_unique<KernelTimer>(interval, std::move(onFire));
}

} // namespace rewindle
