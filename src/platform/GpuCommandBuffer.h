#pragma once

#include "platform/GpuLayer.h"
#include "platform/GpuResources.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>

namespace rewindle {

enum class GpuPrimitive : std::uint8_t { triangles, triangleStrip };

/// A cleared target: all transparent before the first draw. With `resolve`, the multisampled `target` ends up there.
struct GpuRenderPass {
    GpuTexture* target = nullptr;
    GpuTexture* resolve = nullptr;
};

/// Encodes the draws of one pass. Faces are never culled. Bytes are copied before a call returns.
class GpuRenderEncoder {
public:
    virtual ~GpuRenderEncoder() = default;
    virtual void setPipeline(const GpuPipeline& pipeline) = 0;
    /// The vertex function's input `index` is `length` bytes of the buffer, from `offset` on.
    virtual void setVertexBuffer(int index, const GpuBuffer& buffer, std::size_t offset, std::size_t length) = 0;
    virtual void setVertexBytes(int index, std::span<const std::byte> bytes) = 0;
    virtual void setFragmentBytes(int index, std::span<const std::byte> bytes) = 0;
    virtual void setFragmentTexture(int index, const GpuTexture& texture, const GpuSampler& sampler) = 0;
    virtual void draw(GpuPrimitive primitive, std::size_t firstVertex, std::size_t vertexCount) = 0;
    /// Nothing may be encoded after.
    virtual void endEncoding() = 0;
};

/// The work of one frame. Belongs to its queue; usable until it is committed.
class GpuCommandBuffer {
public:
    virtual ~GpuCommandBuffer() = default;
    /// Usable until its encoding ends. Null when it cannot be made.
    [[nodiscard]] virtual GpuRenderEncoder* makeRenderEncoder(const GpuRenderPass& pass) = 0;
    /// Copies a drawable's picture. Requires: a layer that is not for framebuffers only; equal sizes.
    virtual void copy(const GpuTexture& from, GpuTexture& to) = 0;
    /// Called on the interface thread, in `GpuDevice::waitForCompletion` or when a later command buffer is made, once
    /// the GPU is done with this one.
    virtual void addCompletedHandler(std::function<void()> handler) = 0;
    virtual void present(GpuDrawable& drawable) = 0;
    virtual void commit() = 0;
};

} // namespace rewindle
