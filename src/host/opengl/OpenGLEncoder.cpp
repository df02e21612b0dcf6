#include "host/opengl/OpenGLEncoder.h"

#include "host/opengl/OpenGLResources.h"
#include "render/gpu/VertexLayouts.h"

#include <cassert>

namespace rewindle {
namespace {

struct VertexLayout {
    GLsizei stride;
    GLint components;     // of the second attribute; the first is the position
    std::size_t location; // bytes
};

VertexLayout layoutOf(ShaderInput input) {
    switch (input) {
    case ShaderInput::coloredVertices: return {sizeof(ColoredVertex), 4, offsetof(ColoredVertex, color)};
    case ShaderInput::rampVertices: return {sizeof(RampVertex), 1, offsetof(RampVertex, t)};
    default: return {sizeof(TexVertex), 2, offsetof(TexVertex, uv)};
    }
}

/// An offset into the buffer that is bound, in the form of a pointer.
const void* asPointer(std::size_t offset) {
    return reinterpret_cast<const void*>(offset); // NOLINT(performance-no-int-to-ptr)
}

} // namespace

OpenGLEncoder::OpenGLEncoder(const GlFunctions& gl) : gl_(gl), columns_(gl) {
    gl_.genBuffers(static_cast<GLsizei>(vertexBytes_.size()), vertexBytes_.data());
    gl_.genBuffers(1, &fragmentBytes_);
}

OpenGLEncoder::~OpenGLEncoder() {
    gl_.deleteBuffers(static_cast<GLsizei>(vertexBytes_.size()), vertexBytes_.data());
    gl_.deleteBuffers(1, &fragmentBytes_);
}

void OpenGLEncoder::begin(const GpuRenderPass& pass) {
    pass_ = pass;
    pipeline_ = nullptr;
    inputs_ = {};
    inputsChanged_ = true;
    gl_.genVertexArrays(1, &vertexArray_);
    gl_.bindVertexArray(vertexArray_);
    setState(*pass.target);
    gl_.clearColor(0, 0, 0, 0);
    gl_.clear(GL_COLOR_BUFFER_BIT);
}

void OpenGLEncoder::setState(const GpuTexture& target) const {
    gl_.bindFramebuffer(GL_FRAMEBUFFER, framebufferOf(target));
    gl_.viewport(0, 0, target.width(), target.height());
    for (const GLenum capability :
         {GL_SCISSOR_TEST, GL_DEPTH_TEST, GL_STENCIL_TEST, GL_CULL_FACE, GL_RASTERIZER_DISCARD,
          GL_SAMPLE_ALPHA_TO_COVERAGE, GL_SAMPLE_COVERAGE, GL_DITHER})
        gl_.disable(capability);
    if (!gl_.isES) { // ES has no such switches
        for (const GLenum capability : {GL_FRAMEBUFFER_SRGB, GL_COLOR_LOGIC_OP})
            gl_.disable(capability);
        gl_.enable(GL_MULTISAMPLE);
    }
    gl_.colorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
}

void OpenGLEncoder::setPipeline(const GpuPipeline& pipeline) {
    pipeline_ = &dynamic_cast<const OpenGLPipeline&>(pipeline);
    pipeline_->use();
    inputsChanged_ = true;
}

void OpenGLEncoder::setVertexBuffer(int index, const GpuBuffer& buffer, std::size_t offset, std::size_t length) {
    inputs_.at(static_cast<std::size_t>(index)) = {dynamic_cast<const OpenGLBuffer&>(buffer).name(), offset, length};
    inputsChanged_ = true;
}

void OpenGLEncoder::setVertexBytes(int index, std::span<const std::byte> bytes) {
    const GLuint buffer = vertexBytes_.at(static_cast<std::size_t>(index));
    fill(buffer, bytes);
    inputs_.at(static_cast<std::size_t>(index)) = {buffer, 0, bytes.size()};
    inputsChanged_ = true;
}

void OpenGLEncoder::setFragmentBytes([[maybe_unused]] int index, std::span<const std::byte> bytes) {
    assert(index == 0);
    fill(fragmentBytes_, bytes);
    gl_.bindBufferBase(GL_UNIFORM_BUFFER, kFragmentBytesBinding, fragmentBytes_);
}

void OpenGLEncoder::setFragmentTexture([[maybe_unused]] int index, const GpuTexture& texture,
                                       const GpuSampler& sampler) {
    assert(index == 0);
    gl_.activeTexture(GL_TEXTURE0);
    gl_.bindTexture(GL_TEXTURE_2D, dynamic_cast<const OpenGLTexture&>(texture).name());
    gl_.bindSampler(0, dynamic_cast<const OpenGLSampler&>(sampler).name());
}

/// New storage each time, so that a draw in flight keeps the one that it reads.
void OpenGLEncoder::fill(GLuint inlineBuffer, std::span<const std::byte> bytes) const {
    gl_.bindBuffer(GL_COPY_WRITE_BUFFER, inlineBuffer);
    gl_.bufferData(GL_COPY_WRITE_BUFFER, static_cast<GLsizeiptr>(bytes.size()), bytes.data(), GL_STREAM_DRAW);
    gl_.bindBuffer(GL_COPY_WRITE_BUFFER, 0);
}

void OpenGLEncoder::draw(GpuPrimitive primitive, std::size_t firstVertex, std::size_t vertexCount) {
    if (inputsChanged_) bindInputs();
    inputsChanged_ = false;
    gl_.drawArrays(primitive == GpuPrimitive::triangles ? GL_TRIANGLES : GL_TRIANGLE_STRIP,
                   static_cast<GLint>(firstVertex), static_cast<GLsizei>(vertexCount));
}

void OpenGLEncoder::bindInputs() {
    if (pipeline_->input() == ShaderInput::columns) return bindColumns();
    bindVertices(pipeline_->input());
}

void OpenGLEncoder::bindVertices(ShaderInput input) const {
    const VertexLayout layout = layoutOf(input);
    const BufferRange& vertices = inputs_[0];
    gl_.bindBuffer(GL_ARRAY_BUFFER, vertices.buffer);
    gl_.vertexAttribPointer(0, 2, GL_FLOAT, GL_FALSE, layout.stride, asPointer(vertices.offset));
    gl_.vertexAttribPointer(1, layout.components, GL_FLOAT, GL_FALSE, layout.stride,
                            asPointer(vertices.offset + layout.location));
    gl_.enableVertexAttribArray(0);
    gl_.enableVertexAttribArray(1);
}

void OpenGLEncoder::bindColumns() {
    columns_.load(inputs_[0], inputs_[1]);
    pipeline_->setColumnsPerRow(columns_.columnsPerRow());
    gl_.bindBufferBase(GL_UNIFORM_BUFFER, kVertexBytesBinding, inputs_[2].buffer);
}

void OpenGLEncoder::endEncoding() {
    if (pass_.resolve) resolve();
    gl_.bindFramebuffer(GL_FRAMEBUFFER, framebufferOf(pass_.resolve ? *pass_.resolve : *pass_.target));
    gl_.useProgram(0);
    gl_.disable(GL_BLEND);
    gl_.bindVertexArray(0);
    gl_.deleteVertexArrays(1, &vertexArray_);
    gl_.bindBuffer(GL_ARRAY_BUFFER, 0);
    for (const GLuint binding : {kVertexBytesBinding, kFragmentBytesBinding})
        gl_.bindBufferBase(GL_UNIFORM_BUFFER, binding, 0);
    gl_.activeTexture(GL_TEXTURE0);
    gl_.bindTexture(GL_TEXTURE_2D, 0);
    gl_.bindSampler(0, 0);
}

void OpenGLEncoder::resolve() const {
    gl_.bindFramebuffer(GL_READ_FRAMEBUFFER, framebufferOf(*pass_.target));
    gl_.bindFramebuffer(GL_DRAW_FRAMEBUFFER, framebufferOf(*pass_.resolve));
    const GLint width = pass_.target->width();
    const GLint height = pass_.target->height();
    gl_.blitFramebuffer(0, 0, width, height, 0, 0, width, height, GL_COLOR_BUFFER_BIT, GL_NEAREST);
}

} // namespace rewindle
