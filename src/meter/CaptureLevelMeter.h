#pragma once

#include "base/AudioPCMBuffer.h"
#include "base/Clock.h"

#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <string>

namespace rewindle {

/// Both channels' readings at one moment: left, right.
struct MeterLevels {
    std::array<float, 2> displayDB{};
    std::array<float, 2> holdDB{};
};

/// Turns the captured audio into two readings per channel: a level that jumps up and falls back smoothly, and the
/// loudest recent value, held for a while before it falls.
///
/// Units:     dB relative to full scale; seconds.
/// Threads:   `ingest` on one thread (the capture queue), `advance` on another (the interface thread), readers on
///            any. A value that one side writes between the other's load and store is lost until the next buffer or
///            frame; that is accepted, because no lock and no read-modify-write is worth one frame of a meter.
/// Real time: `ingest` is wait-free and allocation-free.
class CaptureLevelMeter {
public:
    static constexpr float kFloorDB = -48.0F;         // silence; the bottom of the scale
    static constexpr float kCeilingDB = 12.0F;        // captured float audio can exceed full scale
    static constexpr float kSilentReadoutDB = -47.5F; // at or below it there is no number worth reading
    static constexpr float kInitialDB = -80.0F;       // below the floor, where nothing falls: no audio has come yet
    static constexpr double kReleaseTimeConstant = 0.3;
    static constexpr double kHoldDuration = 1.5;
    static constexpr double kHoldFallDBPerSecond = 20.0;

    explicit CaptureLevelMeter(const Clock& clock) : clock_(clock) {}

    // Capture queue only
    /// Takes one buffer; ignores one that is not in the working format.
    void ingest(const AudioPCMBuffer& buffer) noexcept;

    // Interface thread only
    /// Lets the levels fall for `seconds`, the time since the last call; does nothing when that is not above
    /// 0.
    void advance(double seconds) noexcept;

    // Any thread; channel 0 is left, any other right
    [[nodiscard]] float displayDB(int channel) const noexcept { return load(state(channel).displayPeakBits); }
    [[nodiscard]] float holdDB(int channel) const noexcept { return load(state(channel).holdPeakBits); }
    /// The larger of both channels' held peaks.
    [[nodiscard]] float peakHoldDB() const noexcept;
    /// What the readings would be now had `advance` been called all the time. For readers who come so rarely
    /// that one long fall would take away the audio that is playing.
    [[nodiscard]] MeterLevels recentLevels() const noexcept;

    /// Position on the scale: 0 at the floor, 1 at the ceiling.
    [[nodiscard]] static double fraction(float db) noexcept;
    /// "+0.0", "-6.0", or a minus sign and the sign for infinity near the floor.
    [[nodiscard]] static std::string readoutText(float db);

private:
    /// Bit patterns of floats and doubles, each read and written as a whole word.
    struct ChannelState {
        std::atomic<std::uint32_t> displayPeakBits{std::bit_cast<std::uint32_t>(kInitialDB)};
        std::atomic<std::uint32_t> holdPeakBits{std::bit_cast<std::uint32_t>(kInitialDB)};
        std::atomic<std::uint64_t> holdExpiryUptimeBits{std::bit_cast<std::uint64_t>(0.0)};
    };
    static float load(const std::atomic<std::uint32_t>& bits) noexcept {
        return std::bit_cast<float>(bits.load(std::memory_order_relaxed));
    }
    static double load(const std::atomic<std::uint64_t>& bits) noexcept {
        return std::bit_cast<double>(bits.load(std::memory_order_relaxed));
    }
    static void store(std::atomic<std::uint32_t>& bits, float value) noexcept {
        bits.store(std::bit_cast<std::uint32_t>(value), std::memory_order_relaxed);
    }
    static void store(std::atomic<std::uint64_t>& bits, double value) noexcept {
        bits.store(std::bit_cast<std::uint64_t>(value), std::memory_order_relaxed);
    }
    /// What some time does to the levels.
    struct Fall {
        explicit Fall(double seconds) noexcept;
        [[nodiscard]] float releasedDB(float db) const noexcept;
        [[nodiscard]] float fallenHoldDB(float db) const noexcept;
        float displayFactor; // exponential in dB above the floor
        float holdDB;        // linear
    };
    static void raise(ChannelState& channel, float db, double now) noexcept;
    static void fall(ChannelState& channel, const Fall& fall, double now) noexcept;
    [[nodiscard]] const ChannelState& state(int channel) const noexcept { return channel == 0 ? left_ : right_; }

    const Clock& clock_;
    ChannelState left_;
    ChannelState right_;
    // The same, but falling from one buffer to the next: only `ingest` writes these.
    ChannelState recentLeft_;
    ChannelState recentRight_;
    std::atomic<std::uint64_t> newestUptimeBits_{std::bit_cast<std::uint64_t>(0.0)};
};

} // namespace rewindle
