#include "host/opengl/ColumnsTexture.h"

#include "host/opengl/OpenGLResources.h"

#include <algorithm>

namespace rewindle {
namespace {

/// An offset into the buffer that is bound, in the form of a pointer.
const void* asPointer(std::size_t offset) {
    return reinterpret_cast<const void*>(offset); // NOLINT(performance-no-int-to-ptr)
}

} // namespace

ColumnsTexture::~ColumnsTexture() {
    gl_.deleteTextures(1, &name_);
}

void ColumnsTexture::load(const BufferRange& minima, const BufferRange& maxima) {
    if (name_ == 0) gl_.genTextures(1, &name_);
    gl_.activeTexture(GL_TEXTURE0);
    gl_.bindSampler(0, 0);
    gl_.bindTexture(GL_TEXTURE_2D, name_);
    reserve(static_cast<int>(minima.length / sizeof(float)));
    copy(minima, 0);
    copy(maxima, 1);
    gl_.bindBuffer(GL_PIXEL_UNPACK_BUFFER, 0);
}

void ColumnsTexture::reserve(int columns) {
    constexpr int kStep = 256; // while a window is being enlarged, not every column more needs a new texture
    const int wanted = (columns + kStep - 1) / kStep * kStep;
    const int width = std::min(std::max(wanted, width_), gl_.maxTextureSize);
    const int height = std::max(height_, 2 * ((columns + width - 1) / width));
    if (width == width_ && height == height_) return;
    width_ = width;
    height_ = height;
    setUnpacking(gl_, 0);
    gl_.texImage2D(GL_TEXTURE_2D, 0, GL_R32F, width_, height_, 0, GL_RED, GL_FLOAT, nullptr);
    for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER})
        gl_.texParameteri(GL_TEXTURE_2D, filter, GL_NEAREST); // floats are not filterable everywhere
}

void ColumnsTexture::copy(const BufferRange& from, int firstRow) const {
    setUnpacking(gl_, from.buffer);
    const int columns = static_cast<int>(from.length / sizeof(float));
    for (int first = 0, row = firstRow; first < columns; first += width_, row += 2) {
        const auto offset = from.offset + static_cast<std::size_t>(first) * sizeof(float);
        gl_.texSubImage2D(GL_TEXTURE_2D, 0, 0, row, std::min(width_, columns - first), 1, GL_RED, GL_FLOAT,
                          asPointer(offset));
    }
}

} // namespace rewindle
