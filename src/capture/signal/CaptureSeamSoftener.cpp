#include "capture/signal/CaptureSeamSoftener.h"

#include "base/CaptureGain.h"

#include <algorithm>
#include <cmath>

namespace rewindle {

void CaptureSeamSoftener::process(const AudioPCMBuffer& buffer) noexcept {
    if (!buffer.isWorkingFormat()) return;
    const std::lock_guard hold(lock_);
    if (isTransparent()) return;
    const auto first = silenceDelay(buffer);
    // Only the frames of a fade or a glide have a gain of their own; the rest is one long multiplication.
    const auto changing = std::min(first + std::max(fadeInRemaining_, gainRampRemaining_), buffer.frameLength);
    for (std::int64_t frame = first; frame < changing; ++frame) {
        const float gain = nextFrameGain();
        for (float* channel : buffer.channels)
            channel[frame] *= gain;
    }
    const std::int64_t steady = buffer.frameLength - changing;
    if (steady == 0) return;
    appliedLinearGain_ = targetLinearGain_;
    if (appliedLinearGain_ == 1.0F) return;
    for (float* channel : buffer.channels)
        CaptureGain::scale(channel + changing, steady, appliedLinearGain_);
}

void CaptureSeamSoftener::beginFadeIn() {
    const std::lock_guard hold(lock_);
    fadeInRemaining_ = kFadeInFrames;
    fadeInDelay_ = 0;
}

void CaptureSeamSoftener::delayFadeIn(std::int64_t frames) {
    const std::lock_guard hold(lock_);
    if (fadeInRemaining_ == kFadeInFrames) fadeInDelay_ = frames;
}

void CaptureSeamSoftener::setGain(float gainDB, bool ramp) {
    const float target = CaptureGain::linearFactor(gainDB);
    const std::lock_guard hold(lock_);
    targetLinearGain_ = target;
    if (ramp && std::abs(appliedLinearGain_ - target) > kUnityTolerance) {
        gainRampRemaining_ = kGainRampFrames;
    } else {
        appliedLinearGain_ = target;
        gainRampRemaining_ = 0;
    }
}

bool CaptureSeamSoftener::isTransparent() const noexcept {
    return std::abs(targetLinearGain_ - 1.0F) <= kUnityTolerance && fadeInRemaining_ <= 0 &&
           gainRampRemaining_ <= 0 && std::abs(appliedLinearGain_ - 1.0F) <= kUnityTolerance;
}

/// Silences what belongs to the delay of a fade-in; returns how many frames.
std::int64_t CaptureSeamSoftener::silenceDelay(const AudioPCMBuffer& buffer) noexcept {
    const auto frames = std::min(fadeInDelay_, buffer.frameLength);
    for (float* channel : buffer.channels)
        std::fill_n(channel, frames, 0.0F);
    fadeInDelay_ -= frames;
    return frames;
}

float CaptureSeamSoftener::nextFrameGain() noexcept {
    if (gainRampRemaining_ > 1) {
        // The remaining difference over the remaining frames: a straight line from wherever the gain is now.
        appliedLinearGain_ += (targetLinearGain_ - appliedLinearGain_) / static_cast<float>(gainRampRemaining_);
        --gainRampRemaining_;
    } else {
        appliedLinearGain_ = targetLinearGain_;
        gainRampRemaining_ = 0;
    }
    if (fadeInRemaining_ < 1) return appliedLinearGain_;
    const auto step = static_cast<float>(kFadeInFrames - fadeInRemaining_ + 1);
    --fadeInRemaining_;
    return appliedLinearGain_ * (step / static_cast<float>(kFadeInFrames));
}

} // namespace rewindle
