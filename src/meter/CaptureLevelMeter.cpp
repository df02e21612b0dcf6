#include "meter/CaptureLevelMeter.h"

#include "base/DecimalText.h"

#include <algorithm>
#include <cmath>
#include <experimental/simd>
#include <limits>

namespace rewindle {
namespace {

namespace simd = std::experimental;
using Words = simd::native_simd<std::uint32_t>;

constexpr float kSnapDB = 0.05F; // so near to the floor a falling level has arrived

std::uint32_t magnitudeBits(float sample) noexcept {
    return std::bit_cast<std::uint32_t>(sample) & 0x7FFF'FFFF;
}

/// The largest magnitude of those that are numbers.
float peakOfNumbers(const float* samples, std::int64_t frames) noexcept {
    float peak = 0.0F;
    for (std::int64_t i = 0; i < frames; ++i) {
        if (std::abs(samples[i]) > peak) peak = std::abs(samples[i]);
    }
    return peak;
}

/// The largest magnitude, or something that is not a number when one of the samples is not.
///
/// As integers, magnitudes order as they do as floats, with what is not a number at the end; and the
/// processor's integer maximum has no wait and no special cases. That makes it as fast as reading the
/// samples.
float peakOrNotANumber(const float* samples, std::int64_t frames) noexcept {
    constexpr auto kWidth = static_cast<std::int64_t>(Words::size());
    const auto magnitudesAt = [samples](std::int64_t i) {
        return Words([samples, i](auto lane) { return magnitudeBits(samples[i + lane]); });
    };
    Words first = 0; // two of them, so that a maximum need not wait for the one before
    Words second = 0;
    std::int64_t i = 0;
    for (; i + 2 * kWidth <= frames; i += 2 * kWidth) {
        first = simd::max(first, magnitudesAt(i));
        second = simd::max(second, magnitudesAt(i + kWidth));
    }
    std::uint32_t peak = simd::hmax(simd::max(first, second));
    for (; i < frames; ++i)
        peak = std::max(peak, magnitudeBits(samples[i]));
    return std::bit_cast<float>(peak);
}

/// The largest absolute sample. One that is not a number counts as none, an infinite one as the largest
/// number: a level of infinity would never fall again.
float peakOf(const float* samples, std::int64_t frames) noexcept {
    const float peak = peakOrNotANumber(samples, frames);
    return std::min(std::isnan(peak) ? peakOfNumbers(samples, frames) : peak, std::numeric_limits<float>::max());
}

float decibels(float peak) noexcept {
    return peak > 0.0F ? 20.0F * std::log10(peak) : CaptureLevelMeter::kFloorDB;
}

} // namespace

void CaptureLevelMeter::ingest(const AudioPCMBuffer& buffer) noexcept {
    if (!buffer.isWorkingFormat()) return;
    const float leftDB = decibels(peakOf(buffer.channels[0], buffer.frameLength));
    const float rightDB = decibels(peakOf(buffer.channels[1], buffer.frameLength));
    const double now = clock_.uptimeSeconds();
    raise(left_, leftDB, now);
    raise(right_, rightDB, now);
    const Fall sincePrevious(now - load(newestUptimeBits_));
    fall(recentLeft_, sincePrevious, now);
    fall(recentRight_, sincePrevious, now);
    raise(recentLeft_, leftDB, now);
    raise(recentRight_, rightDB, now);
    store(newestUptimeBits_, now);
}

void CaptureLevelMeter::advance(double seconds) noexcept {
    if (!(seconds > 0.0)) return;
    const double now = clock_.uptimeSeconds();
    const Fall sincePrevious(seconds);
    fall(left_, sincePrevious, now);
    fall(right_, sincePrevious, now);
}

void CaptureLevelMeter::raise(ChannelState& channel, float db, double now) noexcept {
    if (db > load(channel.displayPeakBits)) store(channel.displayPeakBits, db);
    if (db >= load(channel.holdPeakBits)) { // an equal peak holds for as long as a new one
        store(channel.holdPeakBits, db);
        store(channel.holdExpiryUptimeBits, now + kHoldDuration);
    }
}

void CaptureLevelMeter::fall(ChannelState& channel, const Fall& fall, double now) noexcept {
    store(channel.displayPeakBits, fall.releasedDB(load(channel.displayPeakBits)));
    if (now >= load(channel.holdExpiryUptimeBits)) {
        store(channel.holdPeakBits, fall.fallenHoldDB(load(channel.holdPeakBits)));
    }
}

MeterLevels CaptureLevelMeter::recentLevels() const noexcept {
    const double now = clock_.uptimeSeconds();
    const Fall sinceNewest(std::max(now - load(newestUptimeBits_), 0.0));
    MeterLevels levels;
    for (std::size_t i = 0; i < 2; ++i) {
        const ChannelState& channel = i == 0 ? recentLeft_ : recentRight_;
        const float holdDB = load(channel.holdPeakBits);
        const bool isHeld = now < load(channel.holdExpiryUptimeBits);
        levels.displayDB[i] = sinceNewest.releasedDB(load(channel.displayPeakBits));
        levels.holdDB[i] = isHeld ? holdDB : sinceNewest.fallenHoldDB(holdDB);
    }
    return levels;
}

float CaptureLevelMeter::peakHoldDB() const noexcept {
    return std::max(holdDB(0), holdDB(1));
}

CaptureLevelMeter::Fall::Fall(double seconds) noexcept
    : displayFactor(static_cast<float>(std::exp(-seconds / kReleaseTimeConstant))),
      holdDB(static_cast<float>(kHoldFallDBPerSecond * seconds)) {}

float CaptureLevelMeter::Fall::releasedDB(float db) const noexcept {
    if (db <= kFloorDB) return db;
    const float aboveFloor = displayFactor * (db - kFloorDB);
    return aboveFloor < kSnapDB ? kFloorDB : aboveFloor + kFloorDB;
}

float CaptureLevelMeter::Fall::fallenHoldDB(float db) const noexcept {
    return db <= kFloorDB ? db : std::max(db - holdDB, kFloorDB);
}

double CaptureLevelMeter::fraction(float db) noexcept {
    if (db <= kFloorDB) return 0.0;
    return static_cast<double>(std::min(db, kCeilingDB) - kFloorDB) / static_cast<double>(kCeilingDB - kFloorDB);
}

std::string CaptureLevelMeter::readoutText(float db) {
    if (db <= kSilentReadoutDB) return "\u2212\u221E";
    return signedDecimalText(db, 1);
}

} // namespace rewindle
