#pragma once

#include "host/opengl/GlFunctions.h"

#include <cstddef>

namespace rewindle {

/// Bytes of a buffer.
struct BufferRange {
    GLuint buffer = 0;
    std::size_t offset = 0;
    std::size_t length = 0;
};

/// The columns' minima and maxima where a shader can fetch them by number: 32-bit floats in rows, minima above maxima.
/// Grows to the most columns seen and never shrinks. Columns that do not fit into a row go on two rows below.
class ColumnsTexture {
public:
    explicit ColumnsTexture(const GlFunctions& gl) : gl_(gl) {}
    ~ColumnsTexture();
    ColumnsTexture(const ColumnsTexture&) = delete;

    /// Has the GPU copy both ranges, of equal length, and leaves the texture bound.
    void load(const BufferRange& minima, const BufferRange& maxima);
    [[nodiscard]] int columnsPerRow() const { return width_; }

private:
    void reserve(int columns);
    void copy(const BufferRange& from, int firstRow) const;

    const GlFunctions& gl_;
    GLuint name_ = 0;
    int width_ = 0;
    int height_ = 0;
};

} // namespace rewindle
