#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace rewindle {

// What lives in a GPU's memory. Each is destroyed on the interface thread, before its device.

/// Memory that the processor writes and the GPU reads.
class GpuBuffer {
public:
    virtual ~GpuBuffer() = default;
    [[nodiscard]] virtual std::size_t length() const = 0; // bytes
    /// Writes at once, without waiting for the GPU: the caller knows that no frame in flight reads there.
    virtual void write(std::size_t offset, std::span<const std::byte> bytes) = 0;
};

/// A picture of 8-bit red, green, blue and alpha. Rows go from the top.
class GpuTexture {
public:
    virtual ~GpuTexture() = default;
    [[nodiscard]] virtual int width() const = 0;  // pixels
    [[nodiscard]] virtual int height() const = 0; // pixels
    /// Replaces all pixels. Requires: 4 * width * height bytes.
    virtual void replace(std::span<const std::byte> bytes) = 0;
    /// Reads all pixels once what wrote them is complete. Requires: made for copies, 4 * width * height bytes.
    virtual void read(std::span<std::byte> bytes) const = 0;
};

/// How a texture is read between its pixels.
class GpuSampler {
public:
    virtual ~GpuSampler() = default;
};

/// The shader program: functions by name.
class GpuLibrary {
public:
    virtual ~GpuLibrary() = default;
    [[nodiscard]] virtual bool hasFunction(std::string_view name) const = 0;
};

/// A vertex and a fragment function, ready to draw.
class GpuPipeline {
public:
    virtual ~GpuPipeline() = default;
};

} // namespace rewindle
