#pragma once

#include "platform/GraphicsContext.h"
#include "render/gpu/ContiguousRuns.h"
#include "render/gpu/WaveformFrame.h"
#include "settings/WaveformTheme.h"
#include "waveform/WaveformOverlays.h"

#include <span>
#include <vector>

namespace rewindle {

/// Draws the waveform in two dimensions, where there is no renderer: the same picture.
class WaveformPainter {
public:
    /// What `frame` shows, but for its `overlays`, which are given by their geometry.
    void paint(GraphicsContext& context, const WaveformFrame& frame, std::span<const float> minima,
               std::span<const float> maxima, const WaveformOverlays& overlays, const WaveformTheme& theme,
               bool frozen);

private:
    void paintEnvelope(GraphicsContext& context, const WaveformFrame& frame, std::span<const float> minima,
                       std::span<const float> maxima);

    std::vector<IndexRange> runs_; // of one picture; a member so that a picture allocates nothing for them
};

} // namespace rewindle
