#include "base/CaptureGain.h"

#include "base/DecimalText.h"

#include <algorithm>
#include <cmath>

namespace rewindle::CaptureGain {
namespace {

constexpr float kLowestFactor = 0.1F;
constexpr float kLabelledAsZeroDB = 0.05F; // anything nearer to 0 would read "+0.0" or "-0.0"

float factorFor(float db) noexcept {
    return std::pow(10.0F, db / 20.0F);
}

} // namespace

float clamped(double db) noexcept {
    return std::isnan(db) ? 0 : static_cast<float>(std::clamp<double>(db, kMinimumDB, kMaximumDB));
}

float linearFactor(float db) noexcept {
    // A case of its own: the power need not come out as exactly the float nearest to a tenth.
    if (db <= kMinimumDB) return kLowestFactor;
    return factorFor(std::min(db, kMaximumDB));
}

void apply(const AudioPCMBuffer& buffer, float db) noexcept {
    const float factor = factorFor(db);
    if (factor == 1.0F || !buffer.isWorkingFormat()) return;
    for (float* channel : buffer.channels)
        scale(channel, buffer.frameLength, factor);
}

void scale(float* samples, std::int64_t frames, float factor) noexcept {
    // Whole blocks of eight, so that the compiler needs no scalar loop for them.
    constexpr std::int64_t kBlock = 8;
    std::int64_t frame = 0;
    for (; frame + kBlock <= frames; frame += kBlock) {
        for (std::int64_t i = 0; i < kBlock; ++i)
            samples[frame + i] *= factor;
    }
    for (; frame < frames; ++frame)
        samples[frame] *= factor;
}

std::string label(float db) {
    const float limited = clamped(db);
    return std::abs(limited) < kLabelledAsZeroDB ? "0 dB" : signedDecimalText(limited, 1) + " dB";
}

} // namespace rewindle::CaptureGain
