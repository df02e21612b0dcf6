#pragma once

#include "render/gpu/WaveformFrame.h"

#include <span>

namespace rewindle {

/// Shows pictures of the waveform in a view's own layer.
///
/// Threads: interface thread.
/// Errors:  a picture that cannot be shown is dropped silently.
class WaveformRenderer {
public:
    virtual ~WaveformRenderer() = default;
    /// Column i has `minima[i]` and `maxima[i]`, a not-a-number in both where there is no audio. Nothing is kept.
    virtual void render(const WaveformFrame& frame, std::span<const float> minima, std::span<const float> maxima) = 0;
};

} // namespace rewindle
