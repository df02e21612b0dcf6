#include "host/process/QtMainQueue.h"

#include <QThread>

namespace rewindle {

QtMainQueue::QtMainQueue(std::string label) : label_(std::move(label)) {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);
    QObject::connect(&timer_, &QTimer::timeout, &context_, [this] { takeTurn(); });
}

void QtMainQueue::async(Work work) {
    due_.add(std::move(work));
    postTurn();
}

DelayedWork QtMainQueue::asyncAfter(std::chrono::nanoseconds delay, Work work) {
    auto delayed = due_.addAfter(delay, std::move(work));
    postTurn(); // the timer belongs to the interface thread
    return delayed;
}

bool QtMainQueue::isCurrent() const {
    return QThread::currentThread() == context_.thread();
}

/// One turn for each piece of work, so that Qt's own events come in between as they were posted.
void QtMainQueue::postTurn() {
    QMetaObject::invokeMethod(
        &context_, [this] { takeTurn(); }, Qt::QueuedConnection);
}

void QtMainQueue::takeTurn() {
    if (due_.count() > 1) timer_.start(0); // for a turn inside, should the work run an event loop of its own
    due_.runNext();
    const auto left = due_.untilNext();
    if (!left) return timer_.stop();
    // Rounded up: a timer counts whole milliseconds, and before its time the work would only be put off again.
    timer_.start(std::chrono::ceil<std::chrono::milliseconds>(*left));
}

} // namespace rewindle
