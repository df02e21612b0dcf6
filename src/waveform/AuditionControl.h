#pragma once

#include "capture/ring/AudioRingBuffer.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace rewindle {

/// Plays stretches of the retained audio to the user, and keeps the audio from ageing out meanwhile.
///
/// Threads: interface thread. Nothing here waits for the audio.
class AuditionControl {
public:
    virtual ~AuditionControl() = default;

    [[nodiscard]] virtual bool isPlaying() const = 0;
    /// The frame that sounds now; none while nothing plays.
    [[nodiscard]] virtual std::optional<double> currentPlaybackFrame() const = 0;
    /// Plays [startFrame, endFrame), in place of what may be playing.
    virtual void play(const std::shared_ptr<AudioRingBuffer>& ringBuffer, std::int64_t startFrame,
                      std::int64_t endFrame, float trimDB) = 0;
    virtual void stop(const std::shared_ptr<AudioRingBuffer>& ringBuffer) = 0;
};

} // namespace rewindle
