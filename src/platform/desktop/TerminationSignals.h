#pragma once

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>

namespace rewindle {

/// Turns the signals that ask a program to end (SIGINT, SIGTERM, SIGHUP) into a call in the event loop.
///
/// Threads:   interface thread.
/// Lifecycle: make it after the QCoreApplication and before the first thread, which inherits what is blocked.
class TerminationSignals {
public:
    /// `onFirst` is called once. A second signal ends the process at once, so that a shutdown that hangs can
    /// be ended.
    explicit TerminationSignals(std::function<void()> onFirst);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

private:
    void onReadable();

    std::function<void()> onFirst_;
    sigset_t signals_{};
    int fd_ = -1; // a signalfd
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace rewindle
