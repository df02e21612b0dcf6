#pragma once

#include "base/Log.h"
#include "platform/GpuDevice.h"
#include "platform/GpuLayer.h"
#include "render/gpu/VertexLayouts.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

namespace rewindle {

/// The render core: what all renderers of one GPU share.
///
/// Threads:   interface thread, as `GpuDevice` says.
/// Errors:    what cannot be had is null or not drawn, and is tried again the next time.
/// Lifecycle: made once, destroyed before its device.
class MetalRenderCore {
public:
    /// Null when there is no device, or when it cannot give what a core is made of.
    [[nodiscard]] static std::unique_ptr<MetalRenderCore> make(GpuDevice* device, const Log& log);

    [[nodiscard]] GpuDevice& device() const { return device_; }
    [[nodiscard]] GpuCommandQueue& commandQueue() const { return *commandQueue_; }

    /// `dumpsFrames`: what is drawn there must be copyable.
    void configure(GpuLayer& layer, bool opaque, bool dumpsFrames) const;
    /// Made at the first request and kept.
    [[nodiscard]] const GpuPipeline* pipeline(std::string_view vertexFunction, std::string_view fragmentFunction,
                                              int sampleCount, bool blending);

    /// Draws triangles, blended, into a target of one sample.
    void drawColored(std::span<const ColoredVertex> vertices, GpuRenderEncoder& encoder);
    /// The same with a texture; the vertices are those of the vertex function, `TexVertex` or `RampVertex`.
    void drawTextured(std::span<const TexVertex> vertices, const GpuTexture& texture, GpuRenderEncoder& encoder,
                      std::string_view vertexFunction, std::string_view fragmentFunction);
    void drawTextured(std::span<const RampVertex> vertices, const GpuTexture& texture, GpuRenderEncoder& encoder,
                      std::string_view vertexFunction, std::string_view fragmentFunction);

private:
    struct Parts {
        std::unique_ptr<GpuCommandQueue> commandQueue;
        std::unique_ptr<GpuLibrary> library;
        std::unique_ptr<GpuSampler> linearSampler;
    };
    MetalRenderCore(GpuDevice& device, Parts parts);

    void drawTexturedBytes(std::span<const std::byte> vertices, std::size_t count, const GpuTexture& texture,
                           GpuRenderEncoder& encoder, const GpuPipeline* pipeline) const;

    GpuDevice& device_;
    std::unique_ptr<GpuCommandQueue> commandQueue_;
    std::unique_ptr<GpuLibrary> library_;
    std::unique_ptr<GpuSampler> linearSampler_;
    std::unordered_map<std::string, std::unique_ptr<GpuPipeline>> pipelineCache_;
    std::string key_; // of the last request; a member so that a frame allocates nothing for it
};

} // namespace rewindle
