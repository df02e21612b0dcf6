#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace rewindle {

/// Fills stretches of columns of pixels with one colour per row, and what lies between them with another. It goes
/// through the picture row by row, which is how the pixels lie in memory, in whatever order the stretches were added.
///
/// Units:     pixels; a block is four neighbouring columns, which begin at a multiple of four.
/// Threads:   interface thread.
/// Real time: allocates only for a picture that is larger than all before it.
class RowFill {
public:
    static constexpr int kColumns = 4; // of a block

    void begin(int width, int rows);
    /// Rows [first, end) of a block. Requires: no row of a block is added twice.
    void add(int block, int first, int end);
    /// Fills what has been added. The first row begins at `pixels`, the next one `stride` further on. An empty backdrop
    /// leaves what lies between as it is.
    void fill(std::uint32_t* pixels, int stride, std::span<const std::uint32_t> colors,
              std::span<const std::uint32_t> backdrop);

private:
    /// Where a stretch of a block begins or ends.
    struct Change {
        int block;
        int next; // in the same row; none when negative
    };

    void change(int block, int row);
    [[nodiscard]] int endOfRun(int block) const;

    int width_ = 0, blocks_ = 0;
    std::vector<int> firstChanges_; // one per row
    std::vector<Change> changes_;
    std::vector<std::uint64_t> filled_; // one bit per block
};

} // namespace rewindle
