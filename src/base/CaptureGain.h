#pragma once

#include "base/AudioPCMBuffer.h"
#include "base/Realtime.h"

#include <cstdint>
#include <string>

/// The rules of the capture gain trim: its limits in decibels, its linear factor and its label.
///
/// Threads: any; nothing is kept.
namespace rewindle::CaptureGain {

constexpr float kMinimumDB = -20.0F;
constexpr float kMaximumDB = 20.0F;

/// Within the limits; 0 for what is no number.
[[nodiscard]] float clamped(double db) noexcept REWINDLE_NONBLOCKING;

/// 10^(dB / 20), with `db` limited to the range of the trim: from 0.1 to 10.
[[nodiscard]] float linearFactor(float db) noexcept;

/// Multiplies both channels by 10^(dB / 20), not limited; ignores a buffer that is not in the working format.
void apply(const AudioPCMBuffer& buffer, float db) noexcept;

/// Multiplies `frames` samples in place.
void scale(float* samples, std::int64_t frames, float factor) noexcept REWINDLE_NONBLOCKING;

/// What people read, limited to the range of the trim: "+6.0 dB", "0 dB", "-7.0 dB".
[[nodiscard]] std::string label(float db);

} // namespace rewindle::CaptureGain
