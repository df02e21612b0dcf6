#pragma once

#include "platform/AudioHardware.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

namespace rewindle::test {

/// An aggregate device with a tap: holds what is played while it runs, and hands it over in buffers of at
/// most `bufferFrames` frames when it is asked to.
///
/// Threads:   any; `deliver` on the device's queue.
/// Real time: `deliver` allocates nothing.
class FakeTapDevice {
public:
    explicit FakeTapDevice(std::uint32_t bufferFrames) : bufferFrames_(bufferFrames) {}

    void install(SerialQueue& queue, AudioHardware::IoProc proc) {
        const std::lock_guard hold(mutex_);
        queue_ = &queue;
        proc_ = std::make_shared<AudioHardware::IoProc>(std::move(proc));
    }
    /// Returns the queue on which a call may still be under way; null when no procedure was installed.
    SerialQueue* uninstall() {
        const std::lock_guard hold(mutex_);
        proc_ = nullptr;
        return std::exchange(queue_, nullptr);
    }
    void setRunning(bool running) {
        const std::lock_guard hold(mutex_);
        running_ = running;
    }
    [[nodiscard]] SerialQueue* queue() const {
        const std::lock_guard hold(mutex_);
        return queue_;
    }
    /// How much of it has to be ended before the device can go.
    [[nodiscard]] std::size_t liveParts() const {
        const std::lock_guard hold(mutex_);
        return (proc_ ? 1U : 0U) + (running_ ? 1U : 0U);
    }

    void keep(const std::vector<float>& left, const std::vector<float>& right) {
        const std::lock_guard hold(mutex_);
        if (!running_) return;
        left_.insert(left_.end(), left.begin(), left.end());
        right_.insert(right_.end(), right.begin(), right.end());
    }
    /// False when called outside the device's queue.
    bool deliver() {
        std::shared_ptr<AudioHardware::IoProc> proc;
        {
            const std::lock_guard hold(mutex_);
            if (!proc_) return true;
            if (!queue_->isCurrent()) return false;
            proc = proc_;
            deliveredLeft_.swap(left_);
            deliveredRight_.swap(right_);
        }
        for (std::size_t at = 0; at < deliveredLeft_.size(); at += bufferFrames_) {
            const auto frames = std::min<std::size_t>(bufferFrames_, deliveredLeft_.size() - at);
            const auto bytes = static_cast<std::uint32_t>(frames * sizeof(float));
            const AudioBuffer list[] = {{1, bytes, deliveredLeft_.data() + at},
                                        {1, bytes, deliveredRight_.data() + at}};
            (*proc)(list);
        }
        deliveredLeft_.clear();
        deliveredRight_.clear();
        return true;
    }

private:
    const std::uint32_t bufferFrames_;
    mutable std::mutex mutex_; // guards what follows, but for what the device's queue has to itself
    SerialQueue* queue_ = nullptr;
    std::shared_ptr<AudioHardware::IoProc> proc_;
    bool running_ = false;
    std::vector<float> left_, right_;                   // played, not fetched
    std::vector<float> deliveredLeft_, deliveredRight_; // the device's queue only
};

} // namespace rewindle::test
