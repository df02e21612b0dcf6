#pragma once

#include "host/opengl/GlFunctions.h"
#include "platform/GpuCommandBuffer.h"

#include <functional>
#include <vector>

namespace rewindle {

class OpenGLDevice;
class OpenGLEncoder;

/// The work of one frame. It is done as it is encoded; the fence at its end tells when the GPU is through with it.
class OpenGLCommandBuffer final : public GpuCommandBuffer {
public:
    OpenGLCommandBuffer(const GlFunctions& gl, OpenGLDevice& device, OpenGLEncoder& encoder)
        : gl_(gl), device_(device), encoder_(encoder) {}
    ~OpenGLCommandBuffer() override;
    OpenGLCommandBuffer(const OpenGLCommandBuffer&) = delete;

    [[nodiscard]] GpuRenderEncoder* makeRenderEncoder(const GpuRenderPass& pass) override;
    void copy(const GpuTexture& from, GpuTexture& to) override;
    void addCompletedHandler(std::function<void()> handler) override { handlers_.push_back(std::move(handler)); }
    /// The target is what is shown: there is nothing to do.
    void present(GpuDrawable&) override {}
    void commit() override;

    // For the device
    /// Whether the GPU is done, after waiting for it if told to. A lost context is done.
    [[nodiscard]] bool isComplete(bool wait) const;
    /// Calls the handlers; can be used again.
    void complete();

private:
    const GlFunctions& gl_;
    OpenGLDevice& device_;
    OpenGLEncoder& encoder_;
    GLsync fence_ = nullptr;
    std::vector<std::function<void()>> handlers_;
};

} // namespace rewindle
