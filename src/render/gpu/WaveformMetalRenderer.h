#pragma once

#include "platform/GpuLayer.h"
#include "render/gpu/ContiguousRuns.h"
#include "render/gpu/FrameDump.h"
#include "render/gpu/MetalRenderCore.h"
#include "render/gpu/TripleBuffer.h"
#include "render/gpu/VertexLayouts.h"
#include "render/gpu/WaveformFrame.h"

#include <memory>
#include <span>
#include <vector>

namespace rewindle {

/// Draws the waveform on the GPU: the envelope as filled strips, and rectangles over it.
///
/// Threads:   interface thread, as `GpuDevice` says.
/// Errors:    whatever is missing drops the frame or that layer of it, silently; the next frame tries again.
/// Lifecycle: made per view, destroyed before its core.
class WaveformMetalRenderer {
public:
    WaveformMetalRenderer(MetalRenderCore& core, FrameDump& dump);

    /// Draws one frame and presents it. A column is a minimum and a maximum, -1 ... 1; a not-a-number is a gap.
    void render(const WaveformFrame& frame, std::span<const float> minima, std::span<const float> maxima,
                GpuLayer& layer);

private:
    [[nodiscard]] GpuTexture* multisampleTexture(Size pixels);
    void encodeEnvelope(const WaveformFrame& frame, std::span<const float> minima, std::span<const float> maxima,
                        GpuCommandBuffer& commands, GpuRenderEncoder& encoder);
    void drawRuns(GpuRenderEncoder& encoder) const;
    void encodeOverlays(const WaveformFrame& frame, GpuCommandBuffer& commands, GpuRenderEncoder& encoder);

    MetalRenderCore& core_;
    FrameDump& dump_;
    TripleBuffer envelopeBuffers_;
    TripleBuffer overlayBuffers_;
    std::unique_ptr<GpuTexture> msaaTexture_;
    Size msaaSize_; // pixels, that `msaaTexture_` was made for

    // Of one frame; members so that a frame allocates nothing for them.
    std::vector<IndexRange> runs_;
    std::vector<ColoredVertex> overlayVertices_;
};

} // namespace rewindle
