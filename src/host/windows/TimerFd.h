#pragma once

#include "host/files/FileHandle.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

class QSocketNotifier;

namespace rewindle {

/// A timer of the kernel that calls in the event loop. It keeps to its grid within tenths of a millisecond, where
/// QTimer counts whole ones.
///
/// Threads:   interface thread.
/// Errors:    a process without a free descriptor has no timer: it never fires.
/// Lifecycle: make it after the QCoreApplication. May be destroyed from within its own call.
class TimerFd {
public:
    explicit TimerFd(std::function<void()> onFire);
    ~TimerFd();
    TimerFd(const TimerFd&) = delete;
    TimerFd& operator=(const TimerFd&) = delete;

    /// Fires after `first` and then at every `interval`; fires that were missed become one. Replaces an earlier start.
    void start(std::chrono::nanoseconds first, std::chrono::nanoseconds interval) {
        set(std::max(first, std::chrono::nanoseconds(1)), interval); // zero would stop it
    }
    void stop() { set({}, {}); }
    /// Fires of the kernel's timer since construction, with those that became one.
    [[nodiscard]] std::uint64_t expirations() const { return expirations_; }

private:
    void set(std::chrono::nanoseconds first, std::chrono::nanoseconds interval) const;
    void onReadable();

    const FileHandle descriptor_;
    std::uint64_t expirations_ = 0;
    std::shared_ptr<const std::function<void()>> onFire_; // shared with the call that is under way
    std::unique_ptr<QSocketNotifier> notifier_;
};

} // namespace rewindle
