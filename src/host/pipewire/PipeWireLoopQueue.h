#pragma once

#include "base/Clock.h"
#include "base/DueWork.h"
#include "base/SerialQueue.h"

#include <chrono>
#include <functional>
#include <thread>

struct pw_loop;
struct spa_source;

namespace rewindle {

/// A `SerialQueue` whose thread runs a PipeWire loop, so that work and the sound server's events share one
/// thread.
///
/// Lifecycle: whatever was put on the loop is taken off, on this queue, before the destructor is called.
class PipeWireLoopQueue final : public SerialQueue {
public:
    explicit PipeWireLoopQueue(std::string label);
    ~PipeWireLoopQueue() override;
    PipeWireLoopQueue(const PipeWireLoopQueue&) = delete;
    PipeWireLoopQueue& operator=(const PipeWireLoopQueue&) = delete;

    [[nodiscard]] const std::string& label() const override { return label_; }
    void async(Work work) override;
    DelayedWork asyncAfter(std::chrono::nanoseconds delay, Work work) override;
    [[nodiscard]] bool isCurrent() const override;

    // On the queue only

    [[nodiscard]] pw_loop* loop() const { return loop_; }
    /// Handles the sound server's events, but no queued work, until `done` or the time is up; returns
    /// `done()`.
    bool waitFor(const std::function<bool()>& done, std::chrono::milliseconds timeout);

    /// A handler on the queue that any thread may trigger without a lock, an allocation or a wait.
    class Signal {
    public:
        Signal(PipeWireLoopQueue& queue, std::function<void()> handler); // on the queue only
        ~Signal();                                                       // on the queue only
        Signal(const Signal&) = delete;
        Signal& operator=(const Signal&) = delete;
        /// Several triggers before the handler runs count as one.
        void trigger() noexcept;

    private:
        PipeWireLoopQueue& queue_;
        std::function<void()> handler_;
        spa_source* event_;
    };
    /// A handler on the queue that runs once when the time set has passed. On the queue only.
    class Timer {
    public:
        Timer(PipeWireLoopQueue& queue, std::function<void()> handler);
        ~Timer();
        Timer(const Timer&) = delete;
        Timer& operator=(const Timer&) = delete;
        void set(std::chrono::nanoseconds delay);

    private:
        PipeWireLoopQueue& queue_;
        std::function<void()> handler_;
        spa_source* timer_;
    };

private:
    void wake();
    void runDue();
    void run();

    const std::string label_;
    pw_loop* loop_;
    spa_source* wake_ = nullptr;
    spa_source* timer_ = nullptr;
    bool waiting_ = false; // inside waitFor: queued work stays queued
    std::atomic<bool> ending_ = false;

    const SystemClock clock_;
    DueWork due_{clock_};
    std::thread thread_;
};

} // namespace rewindle
