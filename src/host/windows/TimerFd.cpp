#include "host/windows/TimerFd.h"

#include <QSocketNotifier>

#include <sys/timerfd.h>
#include <unistd.h>
#include <utility>

namespace rewindle {
namespace {

timespec toTimespec(std::chrono::nanoseconds time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    return {.tv_sec = seconds.count(), .tv_nsec = (time - seconds).count()};
}

} // namespace

TimerFd::TimerFd(std::function<void()> onFire)
    : descriptor_(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK)),
      onFire_(std::make_shared<const std::function<void()>>(std::move(onFire))) {
    if (!descriptor_.isOpen()) return;
    notifier_ = std::make_unique<QSocketNotifier>(descriptor_.get(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(), [this] { onReadable(); });
}

TimerFd::~TimerFd() {
    if (!descriptor_.isOpen()) return;
    notifier_->setEnabled(false);
    notifier_.release()->deleteLater(); // it may be delivering the very call that ends this timer
}

void TimerFd::set(std::chrono::nanoseconds first, std::chrono::nanoseconds interval) const {
    const itimerspec times{.it_interval = toTimespec(interval), .it_value = toTimespec(first)};
    if (descriptor_.isOpen()) timerfd_settime(descriptor_.get(), 0, &times, nullptr);
}

void TimerFd::onReadable() {
    std::uint64_t count = 0;
    if (read(descriptor_.get(), &count, sizeof count) != sizeof count) return; // set anew meanwhile
    expirations_ += count;
    const auto onFire = onFire_;
    (*onFire)();
}

} // namespace rewindle
