#pragma once

#include "host/opengl/GlFunctions.h"
#include "platform/GpuDevice.h"

#include <memory>

namespace rewindle {

// What the device makes. All are destroyed while a context of the device's is current.

class OpenGLBuffer final : public GpuBuffer {
public:
    /// Null when there is no memory.
    [[nodiscard]] static std::unique_ptr<OpenGLBuffer> make(const GlFunctions& gl, std::size_t length);
    ~OpenGLBuffer() override;
    OpenGLBuffer(const OpenGLBuffer&) = delete;

    [[nodiscard]] std::size_t length() const override { return length_; }
    void write(std::size_t offset, std::span<const std::byte> bytes) override;
    [[nodiscard]] GLuint name() const { return name_; }

private:
    OpenGLBuffer(const GlFunctions& gl, std::size_t length) : gl_(gl), length_(length) {}

    const GlFunctions& gl_;
    std::size_t length_;
    GLuint name_ = 0;
};

/// A framebuffer of somebody else's, as a texture that can only be drawn to.
class OpenGLTarget final : public GpuTexture {
public:
    OpenGLTarget() = default;
    OpenGLTarget(GLuint framebuffer, int width, int height)
        : framebuffer_(framebuffer), width_(width), height_(height) {}
    [[nodiscard]] int width() const override { return width_; }
    [[nodiscard]] int height() const override { return height_; }
    void replace(std::span<const std::byte> bytes) override;
    void read(std::span<std::byte> bytes) const override;
    [[nodiscard]] GLuint framebuffer() const { return framebuffer_; }

private:
    GLuint framebuffer_ = 0;
    int width_ = 0;
    int height_ = 0;
};

/// A texture, or a multisampled renderbuffer. Those that are drawn or copied to have a framebuffer, which belongs to
/// the context that was current when they were made.
class OpenGLTexture final : public GpuTexture {
public:
    /// Null when the driver cannot make it.
    [[nodiscard]] static std::unique_ptr<OpenGLTexture> make(const GlFunctions& gl, const GpuTextureDescriptor& of);
    ~OpenGLTexture() override;
    OpenGLTexture(const OpenGLTexture&) = delete;

    [[nodiscard]] int width() const override { return descriptor_.width; }
    [[nodiscard]] int height() const override { return descriptor_.height; }
    void replace(std::span<const std::byte> bytes) override;
    void read(std::span<std::byte> bytes) const override;
    [[nodiscard]] GLuint name() const { return texture_; }
    [[nodiscard]] GLuint framebuffer() const { return framebuffer_; }

private:
    OpenGLTexture(const GlFunctions& gl, const GpuTextureDescriptor& of) : gl_(gl), descriptor_(of) {}
    void makeRenderbuffer();
    void makeTexture();
    [[nodiscard]] bool makeFramebuffer();

    const GlFunctions& gl_;
    const GpuTextureDescriptor descriptor_;
    GLuint texture_ = 0;
    GLuint renderbuffer_ = 0;
    GLuint framebuffer_ = 0;
};

class OpenGLSampler final : public GpuSampler {
public:
    explicit OpenGLSampler(const GlFunctions& gl);
    ~OpenGLSampler() override;
    OpenGLSampler(const OpenGLSampler&) = delete;
    [[nodiscard]] GLuint name() const { return name_; }

private:
    const GlFunctions& gl_;
    GLuint name_ = 0;
};

/// The framebuffer behind anything that can be drawn to.
[[nodiscard]] GLuint framebufferOf(const GpuTexture& texture);

/// Sets how pixels lie in memory and in which buffer; 0 is the program's own memory.
void setUnpacking(const GlFunctions& gl, GLuint buffer);

} // namespace rewindle
