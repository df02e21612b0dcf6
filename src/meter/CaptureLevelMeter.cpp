#include "meter/CaptureLevelMeter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <limits>

namespace rewindle {
namespace {

constexpr float kSnapDb = 0.05F;           // so near to the floor a falling level has arrived
constexpr float kSilentReadoutDb = -47.5F; // at or below it there is no number worth reading

/// The largest absolute sample. One that is not a number counts as none, an infinite one as the largest
/// number: a level of infinity would never fall again.
float peakOf(const float* samples, std::int64_t frames) noexcept {
    // As integers, magnitudes order as they do as floats, and compilers turn an integer maximum into vector
    // code without leave to reorder float arithmetic. What is not a number lies beyond infinity.
    constexpr std::uint32_t kMagnitude = 0x7FFF'FFFF;
    std::uint32_t peak = 0;
    for (std::int64_t i = 0; i < frames; ++i) {
        peak = std::max(peak, std::bit_cast<std::uint32_t>(samples[i]) & kMagnitude);
    }
    const auto value = std::bit_cast<float>(peak);
    if (!std::isnan(value)) return std::min(value, std::numeric_limits<float>::max());
    float numbersOnly = 0.0F;
    for (std::int64_t i = 0; i < frames; ++i)
        numbersOnly = std::fmax(numbersOnly, std::abs(samples[i]));
    return std::min(numbersOnly, std::numeric_limits<float>::max());
}

float decibels(float peak) noexcept {
    return peak > 0.0F ? 20.0F * std::log10(peak) : CaptureLevelMeter::kFloorDb;
}

} // namespace

void CaptureLevelMeter::ingest(const AudioPCMBuffer& buffer) noexcept {
    if (!buffer.isWorkingFormat()) return;
    const float leftDb = decibels(peakOf(buffer.channels[0], buffer.frameLength));
    const float rightDb = decibels(peakOf(buffer.channels[1], buffer.frameLength));
    const double now = clock_.uptimeSeconds();
    raise(left_, leftDb, now);
    raise(right_, rightDb, now);
    store(newestUptimeBits_, now);
}

void CaptureLevelMeter::advance(double seconds) noexcept {
    if (!(seconds > 0.0)) return;
    const double now = clock_.uptimeSeconds();
    fall(left_, seconds, now);
    fall(right_, seconds, now);
}

void CaptureLevelMeter::raise(ChannelState& channel, float db, double now) noexcept {
    if (db > load(channel.displayPeakBits)) store(channel.displayPeakBits, db);
    if (db >= load(channel.holdPeakBits)) { // an equal peak holds for as long as a new one
        store(channel.holdPeakBits, db);
        store(channel.holdExpiryUptimeBits, now + kHoldDuration);
    }
    store(channel.newestPeakBits, db);
}

void CaptureLevelMeter::fall(ChannelState& channel, double seconds, double now) noexcept {
    store(channel.displayPeakBits, releasedDb(load(channel.displayPeakBits), seconds));
    if (now >= load(channel.holdExpiryUptimeBits)) {
        store(channel.holdPeakBits, fallenHoldDb(load(channel.holdPeakBits), seconds));
    }
}

float CaptureLevelMeter::peakHoldDb() const noexcept {
    return std::max(holdDb(0), holdDb(1));
}

float CaptureLevelMeter::releasedDb(float db, double seconds) noexcept {
    if (db <= kFloorDb) return db;
    const float aboveFloor = static_cast<float>(std::exp(-seconds / kReleaseTimeConstant)) * (db - kFloorDb);
    return aboveFloor < kSnapDb ? kFloorDb : aboveFloor + kFloorDb;
}

float CaptureLevelMeter::fallenHoldDb(float db, double seconds) noexcept {
    if (db <= kFloorDb) return db;
    return std::max(db - static_cast<float>(kHoldFallDbPerSecond * seconds), kFloorDb);
}

double CaptureLevelMeter::fraction(float db) noexcept {
    if (db <= kFloorDb) return 0.0;
    return static_cast<double>(std::min(db, kCeilingDb) - kFloorDb) /
           static_cast<double>(kCeilingDb - kFloorDb);
}

std::string CaptureLevelMeter::readoutText(float db) {
    if (db <= kSilentReadoutDb) return "\u2212\u221E";
    std::array<char, 64> text{}; // enough for the largest float
    std::snprintf(text.data(), text.size(), db >= 0.0F ? "+%.1f" : "%.1f", static_cast<double>(db));
    return text.data();
}

} // namespace rewindle
