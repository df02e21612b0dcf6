#pragma once

#include "base/SerialQueue.h"

#include <QObject>

namespace rewindle {

/// The interface thread's queue: work runs in the event loop of the thread that made it.
///
/// Lifecycle: make it after the QCoreApplication, on the interface thread, and destroy it there.
class QtMainQueue final : public SerialQueue {
public:
    explicit QtMainQueue(std::string label) : label_(std::move(label)) {}

    [[nodiscard]] const std::string& label() const override { return label_; }
    void async(Work work) override;
    DelayedWork asyncAfter(std::chrono::nanoseconds delay, Work work) override;
    [[nodiscard]] bool isCurrent() const override;

private:
    const std::string label_;
    QObject context_; // posted work is addressed to it, and is dropped with it
};

} // namespace rewindle
