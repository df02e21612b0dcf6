#pragma once

#include "host/opengl/ColumnsTexture.h"
#include "host/opengl/GlFunctions.h"
#include "host/opengl/OpenGLPipelines.h"
#include "platform/GpuCommandBuffer.h"

#include <array>

namespace rewindle {

/// Draws as it encodes. One per device, used for one pass after the other.
///
/// Each pass sets all the state that it depends on: others draw with the same context. At its end nothing of it is
/// bound any more, and the framebuffer is the one that shows the picture.
class OpenGLEncoder final : public GpuRenderEncoder {
public:
    explicit OpenGLEncoder(const GlFunctions& gl);
    ~OpenGLEncoder() override;
    OpenGLEncoder(const OpenGLEncoder&) = delete;

    void begin(const GpuRenderPass& pass);

    void setPipeline(const GpuPipeline& pipeline) override;
    void setVertexBuffer(int index, const GpuBuffer& buffer, std::size_t offset, std::size_t length) override;
    void setVertexBytes(int index, std::span<const std::byte> bytes) override;
    void setFragmentBytes(int index, std::span<const std::byte> bytes) override;
    void setFragmentTexture(int index, const GpuTexture& texture, const GpuSampler& sampler) override;
    void draw(GpuPrimitive primitive, std::size_t firstVertex, std::size_t vertexCount) override;
    void endEncoding() override;

private:
    static constexpr std::size_t kVertexInputs = 3;

    void setState(const GpuTexture& target) const;
    void fill(GLuint inlineBuffer, std::span<const std::byte> bytes) const;
    void bindInputs();
    void bindVertices(ShaderInput layout) const;
    void bindColumns();
    void resolve() const;

    const GlFunctions& gl_;
    std::array<GLuint, kVertexInputs> vertexBytes_{}; // buffers of the encoder's own
    GLuint fragmentBytes_ = 0;
    ColumnsTexture columns_;

    GpuRenderPass pass_;
    GLuint vertexArray_ = 0; // made for each pass: it belongs to one context, and there may be several
    const OpenGLPipeline* pipeline_ = nullptr;
    std::array<BufferRange, kVertexInputs> inputs_{};
    bool inputsChanged_ = true;
};

} // namespace rewindle
