#pragma once

#include "host/drawing/PixelBlend.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>
#include <vector>

namespace rewindle {

/// The upper and the lower edge of a filled shape: finds out how much of each pixel near them the shape covers, and
/// draws these pixels. The edges are added piece by piece, block by block from left to right.
///
/// Units:     pixels from the top left corner of the picture; a block is four neighbouring columns of them, which begin
///            at a multiple of four.
/// Threads:   interface thread.
/// Real time: allocates only for a picture that is larger than all before it.
class StripEdges {
public:
    static constexpr int kColumns = 4;

    /// A piece of an edge that lies within one column of pixels: a line from a height at its left end to one at its
    /// right end, which is `width` away.
    struct Piece {
        int column = 0; // of its block
        double width = 0;
        double left = 0, right = 0;
        double widthPerRow = 0; // in which the line falls or rises by one; any when it is flat
    };
    struct Rows {
        int first = 0, end = 0;
    };

    /// For a picture of that many rows, of which those in [top, bottom) may be drawn on.
    void begin(int rows, double top, double bottom);
    void addUpper(const Piece& piece) { add(piece, 1, upper_); }
    void addLower(const Piece& piece) { add(piece, -1, lower_); }
    /// Whether pieces were added since the last block ended.
    [[nodiscard]] bool hasBlock() const { return upper_.top <= upper_.bottom; }
    /// Returns the rows of it that the shape covers whole; they are not drawn here.
    [[nodiscard]] Rows endBlock(int block);
    /// Draws over what is there, with one colour per row.
    void draw(std::uint32_t* pixels, int stride, int width, std::span<const std::uint32_t> colors) const;

private:
    /// Heights that an edge reaches.
    struct Extent {
        double top = std::numeric_limits<double>::max();
        double bottom = std::numeric_limits<double>::lowest();
    };
    struct Shares {
        FourPixels four;
    };
    /// Rows of a block that are drawn here.
    struct Stretch {
        int block;
        Rows rows;
        std::size_t firstShare;
    };

    void add(const Piece& piece, double sign, Extent& extent);
    void addSlope(int column, double top, double bottom, double widthPerRow);
    void addFlat(int column, double y, double width);
    void addStretch(int block, Rows rows, FourFloats& covered);
    [[nodiscard]] Rows rowsOf(const Extent& extent) const;
    [[nodiscard]] float* counts(int row) { return &counts_[static_cast<std::size_t>(row) * kColumns]; }

    int height_ = 0;
    double top_ = 0, bottom_ = 0;
    // Of this block
    Extent upper_, lower_;
    std::vector<float> counts_; // row by row: by how much more each pixel is covered than the one above it
    // Of all blocks
    std::vector<Stretch> stretches_;
    std::vector<Shares> shares_; // of their rows
};

} // namespace rewindle
