#include "host/opengl/OpenGLCommandBuffer.h"

#include "host/opengl/OpenGLDevice.h"
#include "host/opengl/OpenGLEncoder.h"
#include "host/opengl/OpenGLResources.h"

namespace rewindle {

OpenGLCommandBuffer::~OpenGLCommandBuffer() {
    gl_.deleteSync(fence_);
}

GpuRenderEncoder* OpenGLCommandBuffer::makeRenderEncoder(const GpuRenderPass& pass) {
    encoder_.begin(pass);
    return &encoder_;
}

void OpenGLCommandBuffer::copy(const GpuTexture& from, GpuTexture& to) {
    const GLuint source = framebufferOf(from);
    gl_.bindFramebuffer(GL_READ_FRAMEBUFFER, source);
    gl_.bindFramebuffer(GL_DRAW_FRAMEBUFFER, framebufferOf(to));
    gl_.disable(GL_SCISSOR_TEST);
    // Upside down, because what is drawn has its rows from the bottom.
    gl_.blitFramebuffer(0, 0, from.width(), from.height(), 0, to.height(), to.width(), 0, GL_COLOR_BUFFER_BIT,
                        GL_NEAREST);
    gl_.bindFramebuffer(GL_FRAMEBUFFER, source);
}

void OpenGLCommandBuffer::commit() {
    fence_ = gl_.fenceSync(GL_SYNC_GPU_COMMANDS_COMPLETE, 0);
    gl_.flush(); // else the fence might never get to the GPU
    device_.putInFlight(*this);
}

bool OpenGLCommandBuffer::isComplete(bool wait) const {
    constexpr GLuint64 kSliceNs = 100'000'000;
    if (!fence_) return true;
    GLenum state = gl_.clientWaitSync(fence_, GL_SYNC_FLUSH_COMMANDS_BIT, 0);
    while (wait && state == GL_TIMEOUT_EXPIRED)
        state = gl_.clientWaitSync(fence_, GL_SYNC_FLUSH_COMMANDS_BIT, kSliceNs);
    return state != GL_TIMEOUT_EXPIRED;
}

void OpenGLCommandBuffer::complete() {
    gl_.deleteSync(fence_);
    fence_ = nullptr;
    for (const auto& handler : handlers_)
        handler();
    handlers_.clear();
}

} // namespace rewindle
