#pragma once

#include "base/Result.h"
#include "platform/GpuCommandBuffer.h"
#include "platform/GpuResources.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace rewindle {

enum class GpuTextureUse : std::uint8_t { multisampleTarget, shaderRead, copy };

struct GpuTextureDescriptor {
    int width = 0;  // pixels
    int height = 0; // pixels
    int sampleCount = 1;
    GpuTextureUse use = GpuTextureUse::shaderRead;
};

/// With `blending`, colours go over what is there as premultiplied ones: added to it after it was scaled by one minus
/// their alpha, alpha likewise. Else they replace it.
struct GpuPipelineDescriptor {
    std::string vertexFunction;
    std::string fragmentFunction;
    int sampleCount = 1;
    bool blending = false;
};

/// Takes the work of frames, in order.
class GpuCommandQueue {
public:
    virtual ~GpuCommandQueue() = default;
    /// Null when it cannot be made. Requires: the one before was committed.
    [[nodiscard]] virtual GpuCommandBuffer* makeCommandBuffer() = 0;
};

/// The GPU.
///
/// Threads: interface thread, with whatever the device needs to be current made so by the caller.
/// Errors:  what cannot be made is null.
class GpuDevice {
public:
    virtual ~GpuDevice() = default;
    [[nodiscard]] virtual std::unique_ptr<GpuCommandQueue> makeCommandQueue() = 0;
    /// Compiles the shader program, whose text each kind of device holds in its own language. All have the functions
    /// that ShaderFunctions.h names.
    [[nodiscard]] virtual Result<std::unique_ptr<GpuLibrary>> makeLibrary() = 0;
    /// Linear between pixels and from the edge on that pixel's colour.
    [[nodiscard]] virtual std::unique_ptr<GpuSampler> makeLinearSampler() = 0;
    /// Requires: the library has both functions.
    [[nodiscard]] virtual std::unique_ptr<GpuPipeline> makePipeline(const GpuLibrary& library,
                                                                    const GpuPipelineDescriptor& descriptor) = 0;
    [[nodiscard]] virtual std::unique_ptr<GpuBuffer> makeBuffer(std::size_t length) = 0;
    [[nodiscard]] virtual std::unique_ptr<GpuTexture> makeTexture(const GpuTextureDescriptor& descriptor) = 0;
    /// Waits until the oldest frame in flight is done and its handlers have been called. False when none is in flight.
    virtual bool waitForCompletion() = 0;
};

} // namespace rewindle
