#include "host/opengl/OpenGLResources.h"

#include <algorithm>
#include <cassert>
#include <cstring>

namespace rewindle {
namespace {

void setPacking(const GlFunctions& gl) {
    gl.bindBuffer(GL_PIXEL_PACK_BUFFER, 0);
    gl.pixelStorei(GL_PACK_ALIGNMENT, 4);
    for (const GLenum parameter : {GL_PACK_ROW_LENGTH, GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_ROWS})
        gl.pixelStorei(parameter, 0);
}

} // namespace

void setUnpacking(const GlFunctions& gl, GLuint buffer) {
    gl.bindBuffer(GL_PIXEL_UNPACK_BUFFER, buffer);
    gl.pixelStorei(GL_UNPACK_ALIGNMENT, 4);
    for (const GLenum parameter : {GL_UNPACK_ROW_LENGTH, GL_UNPACK_SKIP_PIXELS, GL_UNPACK_SKIP_ROWS})
        gl.pixelStorei(parameter, 0);
}

std::unique_ptr<OpenGLBuffer> OpenGLBuffer::make(const GlFunctions& gl, std::size_t length) {
    std::unique_ptr<OpenGLBuffer> made(new OpenGLBuffer(gl, length));
    (void)takeGlError(gl); // of earlier calls
    gl.genBuffers(1, &made->name_);
    gl.bindBuffer(GL_COPY_WRITE_BUFFER, made->name_);
    gl.bufferData(GL_COPY_WRITE_BUFFER, static_cast<GLsizeiptr>(length), nullptr, GL_STREAM_DRAW);
    gl.bindBuffer(GL_COPY_WRITE_BUFFER, 0);
    if (takeGlError(gl) != GL_NO_ERROR) return nullptr;
    return made;
}

OpenGLBuffer::~OpenGLBuffer() {
    gl_.deleteBuffers(1, &name_);
}

void OpenGLBuffer::write(std::size_t offset, std::span<const std::byte> bytes) {
    assert(offset + bytes.size() <= length_);
    if (bytes.empty()) return;
    // Unsynchronized: the driver need not wait, the caller has seen the fence of the last frame that read here.
    constexpr GLbitfield kAccess = GL_MAP_WRITE_BIT | GL_MAP_INVALIDATE_RANGE_BIT | GL_MAP_UNSYNCHRONIZED_BIT;
    gl_.bindBuffer(GL_COPY_WRITE_BUFFER, name_);
    void* const memory = gl_.mapBufferRange(GL_COPY_WRITE_BUFFER, static_cast<GLintptr>(offset),
                                            static_cast<GLsizeiptr>(bytes.size()), kAccess);
    if (memory) {
        std::memcpy(memory, bytes.data(), bytes.size());
        gl_.unmapBuffer(GL_COPY_WRITE_BUFFER);
    }
    gl_.bindBuffer(GL_COPY_WRITE_BUFFER, 0);
}

void OpenGLTarget::replace(std::span<const std::byte>) {
    assert(false);
}

void OpenGLTarget::read(std::span<std::byte>) const {
    assert(false);
}

std::unique_ptr<OpenGLTexture> OpenGLTexture::make(const GlFunctions& gl, const GpuTextureDescriptor& of) {
    if (of.width < 1 || of.height < 1 || std::max(of.width, of.height) > gl.maxTextureSize) return nullptr;
    std::unique_ptr<OpenGLTexture> made(new OpenGLTexture(gl, of));
    (void)takeGlError(gl); // of earlier calls
    if (of.use == GpuTextureUse::multisampleTarget) {
        made->makeRenderbuffer();
    } else {
        made->makeTexture();
    }
    const bool complete = of.use == GpuTextureUse::shaderRead || made->makeFramebuffer();
    if (!complete || takeGlError(gl) != GL_NO_ERROR) return nullptr;
    return made;
}

OpenGLTexture::~OpenGLTexture() {
    gl_.deleteFramebuffers(1, &framebuffer_);
    gl_.deleteRenderbuffers(1, &renderbuffer_);
    gl_.deleteTextures(1, &texture_);
}

void OpenGLTexture::makeRenderbuffer() {
    gl_.genRenderbuffers(1, &renderbuffer_);
    gl_.bindRenderbuffer(GL_RENDERBUFFER, renderbuffer_);
    gl_.renderbufferStorageMultisample(GL_RENDERBUFFER, std::min(descriptor_.sampleCount, gl_.maxSamples), GL_RGBA8,
                                       descriptor_.width, descriptor_.height);
    gl_.bindRenderbuffer(GL_RENDERBUFFER, 0);
}

void OpenGLTexture::makeTexture() {
    gl_.genTextures(1, &texture_);
    gl_.bindTexture(GL_TEXTURE_2D, texture_);
    gl_.texParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
    setUnpacking(gl_, 0);
    gl_.texImage2D(GL_TEXTURE_2D, 0, GL_RGBA8, descriptor_.width, descriptor_.height, 0, GL_RGBA, GL_UNSIGNED_BYTE,
                   nullptr);
    gl_.bindTexture(GL_TEXTURE_2D, 0);
}

bool OpenGLTexture::makeFramebuffer() {
    GLint previous = 0;
    gl_.getIntegerv(GL_FRAMEBUFFER_BINDING, &previous);
    gl_.genFramebuffers(1, &framebuffer_);
    gl_.bindFramebuffer(GL_FRAMEBUFFER, framebuffer_);
    if (renderbuffer_ != 0) {
        gl_.framebufferRenderbuffer(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, renderbuffer_);
    } else {
        gl_.framebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture_, 0);
    }
    const bool complete = gl_.checkFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
    gl_.bindFramebuffer(GL_FRAMEBUFFER, static_cast<GLuint>(previous));
    return complete;
}

void OpenGLTexture::replace(std::span<const std::byte> bytes) {
    assert(texture_ != 0 &&
           bytes.size() == 4 * static_cast<std::size_t>(width()) * static_cast<std::size_t>(height()));
    gl_.bindTexture(GL_TEXTURE_2D, texture_);
    setUnpacking(gl_, 0);
    gl_.texSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width(), height(), GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
    gl_.bindTexture(GL_TEXTURE_2D, 0);
}

void OpenGLTexture::read(std::span<std::byte> bytes) const {
    assert(framebuffer_ != 0 &&
           bytes.size() == 4 * static_cast<std::size_t>(width()) * static_cast<std::size_t>(height()));
    GLint previous = 0;
    gl_.getIntegerv(GL_READ_FRAMEBUFFER_BINDING, &previous);
    gl_.bindFramebuffer(GL_READ_FRAMEBUFFER, framebuffer_);
    setPacking(gl_);
    gl_.readPixels(0, 0, width(), height(), GL_RGBA, GL_UNSIGNED_BYTE, bytes.data());
    gl_.bindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(previous));
}

OpenGLSampler::OpenGLSampler(const GlFunctions& gl) : gl_(gl) {
    gl_.genSamplers(1, &name_);
    for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER})
        gl_.samplerParameteri(name_, filter, GL_LINEAR);
    for (const GLenum axis : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T})
        gl_.samplerParameteri(name_, axis, GL_CLAMP_TO_EDGE);
}

OpenGLSampler::~OpenGLSampler() {
    gl_.deleteSamplers(1, &name_);
}

GLuint framebufferOf(const GpuTexture& texture) {
    if (const auto* const target = dynamic_cast<const OpenGLTarget*>(&texture)) return target->framebuffer();
    return dynamic_cast<const OpenGLTexture&>(texture).framebuffer();
}

} // namespace rewindle
