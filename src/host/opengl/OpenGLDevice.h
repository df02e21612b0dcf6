#pragma once

#include "host/opengl/GlFunctions.h"
#include "host/opengl/OpenGLEncoder.h"
#include "platform/GpuDevice.h"

#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace rewindle {

class OpenGLCommandBuffer;

/// The GPU behind the current context: OpenGL 3.3 core or OpenGL ES 3.0, or later.
///
/// Threads:   interface thread; at each call the context is current in which the device was made, or one that shares
///            its objects. Waits for frames happen there.
/// Lifecycle: destroyed while the context is current, after all that it made.
class OpenGLDevice final : public GpuDevice {
public:
    /// Null when the current context is too old. `maxTextureSize` lowers the driver's own bound.
    [[nodiscard]] static std::unique_ptr<OpenGLDevice> make(const GlLoader& loader,
                                                            int maxTextureSize = std::numeric_limits<int>::max());
    ~OpenGLDevice() override;
    OpenGLDevice(const OpenGLDevice&) = delete;

    /// What the driver calls the GPU.
    [[nodiscard]] const std::string& rendererName() const { return gl_.rendererName; }

    [[nodiscard]] std::unique_ptr<GpuCommandQueue> makeCommandQueue() override;
    [[nodiscard]] Result<std::unique_ptr<GpuLibrary>> makeLibrary() override;
    [[nodiscard]] std::unique_ptr<GpuSampler> makeLinearSampler() override;
    [[nodiscard]] std::unique_ptr<GpuPipeline> makePipeline(const GpuLibrary& library,
                                                            const GpuPipelineDescriptor& descriptor) override;
    [[nodiscard]] std::unique_ptr<GpuBuffer> makeBuffer(std::size_t length) override;
    [[nodiscard]] std::unique_ptr<GpuTexture> makeTexture(const GpuTextureDescriptor& descriptor) override;
    bool waitForCompletion() override;

    // For the device's own command buffers
    [[nodiscard]] GpuCommandBuffer* takeCommandBuffer();
    void putInFlight(OpenGLCommandBuffer& commands);

private:
    explicit OpenGLDevice(GlFunctions gl);
    void completeOldest();

    const GlFunctions gl_;
    OpenGLEncoder encoder_;
    std::unique_ptr<OpenGLCommandBuffer> open_;                  // taken and not yet committed
    std::vector<std::unique_ptr<OpenGLCommandBuffer>> inFlight_; // oldest first
    std::vector<std::unique_ptr<OpenGLCommandBuffer>> idle_;     // kept, so that a frame allocates none
};

} // namespace rewindle
