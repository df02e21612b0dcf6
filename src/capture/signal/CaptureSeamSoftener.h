#pragma once

#include "base/AudioPCMBuffer.h"

#include <cstdint>
#include <mutex>

namespace rewindle {

/// Applies the capture gain to the captured audio, glides to a new gain instead of jumping, and fades the audio in
/// again after a restart of capture, so that neither clicks.
///
/// Shape:     buffers in the working format, changed in place; others are left alone.
/// Units:     gain in dB, limited to the range of the trim; fades in frames.
/// Threads:   any. A call holds the lock from end to end, so a change lands between two buffers.
/// Real time: `process` allocates nothing and blocks on one short lock. With a gain of 0 dB and nothing to fade it
///            touches no sample.
class CaptureSeamSoftener {
public:
    static constexpr std::int64_t kFadeInFrames = 480; // 10 ms at 48,000 frames per second
    static constexpr std::int64_t kGainRampFrames = 480;
    static constexpr float kUnityTolerance = 0.0001F;

    void process(const AudioPCMBuffer& buffer) noexcept;
    /// The next 480 frames rise in a straight line from 1/480 to 1; again from the start when already rising.
    void beginFadeIn();
    /// Lets a fade-in that has not begun wait for `frames` frames, which are silenced: those that a converter gives before
    /// the first frame that it got.
    void delayFadeIn(std::int64_t frames);
    /// With `ramp` the gain gets there in 480 frames, otherwise with the next frame.
    void setGain(float gainDB, bool ramp);

private:
    [[nodiscard]] bool isTransparent() const noexcept;
    [[nodiscard]] float nextFrameGain() noexcept;
    [[nodiscard]] std::int64_t silenceDelay(const AudioPCMBuffer& buffer) noexcept;

    std::mutex lock_; // guards everything below
    std::int64_t fadeInRemaining_ = 0;
    std::int64_t fadeInDelay_ = 0; // frames still to come before the fade-in
    float appliedLinearGain_ = 1.0F;
    float targetLinearGain_ = 1.0F;
    std::int64_t gainRampRemaining_ = 0;
};

} // namespace rewindle
