#pragma once

#include "base/Clock.h"
#include "base/DueWork.h"
#include "base/SerialQueue.h"

#include <QObject>
#include <QTimer>

namespace rewindle {

/// The interface thread's queue: work runs in the event loop of the thread that made it.
///
/// Lifecycle: make it after the QCoreApplication, on the interface thread, and destroy it there.
class QtMainQueue final : public SerialQueue {
public:
    explicit QtMainQueue(std::string label);

    [[nodiscard]] const std::string& label() const override { return label_; }
    void async(Work work) override;
    DelayedWork asyncAfter(std::chrono::nanoseconds delay, Work work) override;
    [[nodiscard]] bool isCurrent() const override;

private:
    void postTurn();
    void takeTurn();

    const std::string label_;
    QObject context_; // posted turns are addressed to it, and are dropped with it
    QTimer timer_;    // until what was put off is due
    const SystemClock clock_;
    DueWork due_{clock_}; // last: what it drops may still post
};

} // namespace rewindle
