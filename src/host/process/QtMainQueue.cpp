#include "host/process/QtMainQueue.h"

#include <QThread>
#include <QTimer>

#include <algorithm>

namespace rewindle {

void QtMainQueue::async(Work work) {
    QMetaObject::invokeMethod(&context_, std::move(work), Qt::QueuedConnection);
}

DelayedWork QtMainQueue::asyncAfter(std::chrono::nanoseconds delay, Work work) {
    auto cancelled = std::make_shared<std::atomic<bool>>(false);
    const auto due = std::chrono::steady_clock::now() + delay;
    // A timer belongs to the thread that starts it, hence the detour; its time is not waited twice.
    async([this, due, cancelled, work = std::move(work)] {
        // Rounded up: a timer counts whole milliseconds, and work must not run before it is due.
        const auto rest = std::chrono::ceil<std::chrono::milliseconds>(due - std::chrono::steady_clock::now());
        QTimer::singleShot(std::max(rest, std::chrono::milliseconds::zero()), Qt::PreciseTimer, &context_,
                           [cancelled, work] {
                               if (!cancelled->load(std::memory_order_relaxed)) work();
                           });
    });
    return DelayedWork(std::move(cancelled));
}

bool QtMainQueue::isCurrent() const {
    return QThread::currentThread() == context_.thread();
}

} // namespace rewindle
