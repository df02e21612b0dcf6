#pragma once

#include "base/Realtime.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace rewindle {

/// Carries I/O cycles from the audio thread to the capture thread.
///
/// Shape:     float32, one ring per channel; a small ring of cycle records says where each cycle begins and when it
///            was.
/// Units:     every count is in frames.
/// Threads:   one writer and one reader. Construct before both start, destroy after both end.
/// Real time: everything but the constructor is wait-free and allocation-free.
/// Errors:    a cycle that does not fit is lost whole; the next one that fits says how many frames went before it.
class TapFifo {
public:
    /// How a cycle relates to the one before it, by the sound server's own count.
    enum class Follows { directly, afterPause, afterBreak };
    struct Cycle {
        std::int64_t nanoseconds = 0; // monotonic time of its first frame
        std::uint32_t frames = 0;
        std::uint64_t lostBefore = 0; // frames of the cycles lost just before this one
        Follows follows = Follows::afterPause;
    };

    /// Holds at least `minFrames`, rounded up to a power of two. Requires: both > 0.
    TapFifo(std::size_t minFrames, std::size_t channels);
    TapFifo(const TapFifo&) = delete;
    TapFifo& operator=(const TapFifo&) = delete;

    [[nodiscard]] std::size_t channels() const noexcept { return rings_.size(); }
    [[nodiscard]] std::size_t capacityFrames() const noexcept { return capacity_; }

    // Writer only
    /// Appends one cycle; a null channel counts as silence. False when it did not fit. `cycle.lostBefore` is
    /// ignored.
    bool write(const Cycle& cycle, std::span<const float* const> channels) noexcept REWINDLE_NONBLOCKING;

    // Reader only
    /// The cycle whose frames come next, if one has come; the same one until all of its frames are consumed.
    [[nodiscard]] const Cycle* front() const noexcept REWINDLE_NONBLOCKING;
    /// Frames of the front cycle that lie in one piece from here on. Requires: front().
    [[nodiscard]] std::size_t contiguousFrames() const noexcept REWINDLE_NONBLOCKING;
    /// Where they begin. Valid until they are consumed.
    [[nodiscard]] const float* data(std::size_t channel) const noexcept REWINDLE_NONBLOCKING;
    /// Requires: frames <= contiguousFrames().
    void consume(std::size_t frames) noexcept REWINDLE_NONBLOCKING;

    // Any thread
    /// Frames that wait to be read; may lag by one call.
    [[nodiscard]] std::size_t waitingFrames() const noexcept REWINDLE_NONBLOCKING;
    /// Bursts of lost cycles since construction, and their frames.
    [[nodiscard]] std::uint64_t overruns() const noexcept { return overruns_.load(std::memory_order_relaxed); }
    [[nodiscard]] std::uint64_t overrunFrames() const noexcept { return lostFrames_.load(std::memory_order_relaxed); }

private:
    static constexpr std::size_t kCycles = 16'384; // 2.7 s of cycles of 64 frames at 384 kHz

    const std::size_t capacity_;
    std::vector<std::unique_ptr<float[]>> rings_;
    std::vector<Cycle> cycles_{kCycles};

    // Totals, which wrap at 2^64; a total masked gives the slot. Each is stored by one side only.
    alignas(64) std::atomic<std::uint64_t> framesWritten_{0};
    std::atomic<std::uint64_t> cyclesWritten_{0};
    std::uint64_t lostSinceLastCycle_ = 0; // writer only
    std::atomic<std::uint64_t> overruns_{0};
    std::atomic<std::uint64_t> lostFrames_{0};
    alignas(64) std::atomic<std::uint64_t> framesRead_{0};
    std::atomic<std::uint64_t> cyclesRead_{0};
    std::size_t consumedOfFront_ = 0; // reader only
};

} // namespace rewindle
