#include "render/gpu/WaveformMetalRenderer.h"

#include "render/gpu/QuadBuilders.h"
#include "render/gpu/ShaderFunctions.h"
#include "render/gpu/WaveUniforms.h"

#include <algorithm>

namespace rewindle {
namespace {

constexpr int kSampleCount = 4;

/// How many columns there are to draw.
std::size_t drawnColumns(const WaveformFrame& frame, std::span<const float> minima, std::span<const float> maxima) {
    return std::min({static_cast<std::size_t>(frame.columnCount), minima.size(), maxima.size()});
}

} // namespace

WaveformMetalRenderer::WaveformMetalRenderer(MetalRenderCore& core, FrameDump& dump)
    : core_(core), dump_(dump), envelopeBuffers_(core.device()), overlayBuffers_(core.device()) {}

void WaveformMetalRenderer::render(const WaveformFrame& frame, std::span<const float> minima,
                                   std::span<const float> maxima, GpuLayer& layer) {
    if (!(frame.viewport.width > 0) || !(frame.viewport.height > 0) || frame.columnCount < 1) return;
    GpuDrawable* const drawable = layer.nextDrawable();
    if (!drawable) return;
    GpuTexture* const target = multisampleTexture(layer.drawableSize());
    if (!target) return;
    GpuCommandBuffer* const commands = core_.commandQueue().makeCommandBuffer();
    if (!commands) return;
    GpuRenderEncoder* const encoder =
        commands->makeRenderEncoder({.target = target, .resolve = &drawable->texture()});
    if (!encoder) return commands->commit();

    encodeEnvelope(frame, minima, maxima, *commands, *encoder);
    encodeOverlays(frame, *commands, *encoder);
    encoder->endEncoding();
    const bool dumped = dump_.encode(*drawable, *commands, core_.device());
    commands->present(*drawable);
    commands->commit();
    // The dump shows this frame as soon as it was drawn: the next one may not come for minutes.
    while (dumped && core_.device().waitForCompletion()) {
    }
}

GpuTexture* WaveformMetalRenderer::multisampleTexture(Size pixels) {
    if (msaaTexture_ && msaaSize_ == pixels) return msaaTexture_.get();
    if (!(pixels.width > 0) || !(pixels.height > 0)) return nullptr;
    msaaTexture_ = core_.device().makeTexture({.width = static_cast<int>(pixels.width),
                                               .height = static_cast<int>(pixels.height),
                                               .sampleCount = kSampleCount,
                                               .use = GpuTextureUse::multisampleTarget});
    msaaSize_ = pixels;
    return msaaTexture_.get();
}

void WaveformMetalRenderer::encodeEnvelope(const WaveformFrame& frame, std::span<const float> minima,
                                           std::span<const float> maxima, GpuCommandBuffer& commands,
                                           GpuRenderEncoder& encoder) {
    const std::size_t columns = drawnColumns(frame, minima, maxima);
    if (columns == 0) return;
    const auto* const pipeline =
        core_.pipeline(ShaderFunctions::waveVertex, ShaderFunctions::waveFragment, kSampleCount, true);
    if (!pipeline) return;
    contiguousRuns(minima, columns, runs_);
    if (runs_.empty()) return;
    const std::size_t bytes = columns * sizeof(float);
    GpuBuffer* const buffer = envelopeBuffers_.next(2 * bytes);
    if (!buffer) return;
    buffer->write(0, std::as_bytes(minima.first(columns)));
    buffer->write(bytes, std::as_bytes(maxima.first(columns)));
    envelopeBuffers_.submit(commands);

    const WaveUniforms uniforms = waveUniforms(frame);
    encoder.setPipeline(*pipeline);
    encoder.setVertexBuffer(0, *buffer, 0, bytes);
    encoder.setVertexBuffer(1, *buffer, bytes, bytes);
    encoder.setVertexBytes(2, std::as_bytes(std::span(&uniforms, 1)));
    encoder.setFragmentBytes(0, std::as_bytes(std::span(&uniforms, 1)));
    drawRuns(encoder);
}

/// One strip each, so that none spans a gap. A lone column has no area.
void WaveformMetalRenderer::drawRuns(GpuRenderEncoder& encoder) const {
    for (const IndexRange& run : runs_) {
        const std::size_t length = run.end - run.start;
        if (length >= 2) encoder.draw(GpuPrimitive::triangleStrip, 2 * run.start, 2 * length);
    }
}

void WaveformMetalRenderer::encodeOverlays(const WaveformFrame& frame, GpuCommandBuffer& commands,
                                           GpuRenderEncoder& encoder) {
    if (frame.overlays.empty()) return;
    const auto* const pipeline =
        core_.pipeline(ShaderFunctions::coloredVertex, ShaderFunctions::coloredFragment, kSampleCount, true);
    if (!pipeline) return;
    overlayVertices_.clear();
    for (const auto& overlay : frame.overlays)
        appendColoredQuad(overlayVertices_, overlay.rect, premultiplied(overlay.color), frame.viewport);
    const auto bytes = std::as_bytes(std::span<const ColoredVertex>(overlayVertices_));
    GpuBuffer* const buffer = overlayBuffers_.next(bytes.size());
    if (!buffer) return;
    buffer->write(0, bytes);
    overlayBuffers_.submit(commands);
    encoder.setPipeline(*pipeline);
    encoder.setVertexBuffer(0, *buffer, 0, bytes.size());
    encoder.draw(GpuPrimitive::triangles, 0, overlayVertices_.size());
}

} // namespace rewindle
