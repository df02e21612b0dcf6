#pragma once

#include "host/files/FileHandle.h"

#include <QSocketNotifier>

#include <csignal>
#include <functional>
#include <memory>
#include <vector>

namespace rewindle {

/// Turns the signals that ask a program to end (SIGINT, SIGTERM, SIGHUP) into a call in the event loop.
///
/// Threads:   interface thread; the signals may come on any.
/// Lifecycle: make it after the QCoreApplication; one at a time. Programs that are started meanwhile get the signals
///            as usual.
class TerminationSignals {
public:
    /// `onFirst` is called once. A second signal ends the process at once, so that a shutdown that hangs can
    /// be ended.
    explicit TerminationSignals(std::function<void()> onFirst);
    ~TerminationSignals();
    TerminationSignals(const TerminationSignals&) = delete;
    TerminationSignals& operator=(const TerminationSignals&) = delete;

private:
    void handle(int signal);
    void onReadable();

    std::function<void()> onFirst_;
    struct Pipe {
        FileHandle readEnd, writeEnd;
    };
    static Pipe makePipe();

    const Pipe pipe_ = makePipe();                         // into which the handler writes
    std::vector<std::pair<int, struct sigaction>> former_; // what the signals did before
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace rewindle
