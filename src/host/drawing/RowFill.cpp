#include "host/drawing/RowFill.h"

#include "host/drawing/PixelBlend.h"

#include <algorithm>
#include <bit>
#include <cwchar>
#include <utility>

namespace rewindle {
namespace {

constexpr int kBits = 64;

std::uint64_t bitOf(int block) {
    return std::uint64_t{1} << block % kBits;
}

/// The library's own fill writes whole cache lines where the processor can, which need not be read before.
void fillOpaque(std::span<std::uint32_t> pixels, std::uint32_t color) {
    static_assert(sizeof(wchar_t) == sizeof color);
    std::wmemset(reinterpret_cast<wchar_t*>(pixels.data()), static_cast<wchar_t>(color), pixels.size());
}

void fillRun(std::span<std::uint32_t> pixels, std::uint32_t color) {
    constexpr std::uint32_t kOpaque = 255;
    if (color >> 24 == kOpaque)
        fillOpaque(pixels, color);
    else
        blend(pixels, color, {fourTimes(kFullShare | kFullShare << 16)});
}

} // namespace

void RowFill::begin(int width, int rows) {
    width_ = width;
    blocks_ = (width + kColumns - 1) / kColumns;
    firstChanges_.assign(static_cast<std::size_t>(rows) + 1, -1);
    filled_.assign(static_cast<std::size_t>((blocks_ + kBits - 1) / kBits), 0);
    changes_.clear();
}

void RowFill::add(int block, int first, int end) {
    if (first >= end) return;
    change(block, first);
    change(block, end);
}

void RowFill::change(int block, int row) {
    const int count = static_cast<int>(changes_.size());
    changes_.push_back({block, std::exchange(firstChanges_[static_cast<std::size_t>(row)], count)});
}

void RowFill::fill(std::uint32_t* pixels, int stride, std::span<const std::uint32_t> colors,
                   std::span<const std::uint32_t> backdrop) {
    for (std::size_t row = 0; row < colors.size(); ++row, pixels += stride) {
        for (int i = firstChanges_[row]; i >= 0; i = changes_[static_cast<std::size_t>(i)].next) {
            const int block = changes_[static_cast<std::size_t>(i)].block;
            filled_[static_cast<std::size_t>(block / kBits)] ^= bitOf(block);
        }
        bool isFilled = (filled_.front() & 1) != 0;
        for (int block = 0; block < blocks_; isFilled = !isFilled) {
            const int end = endOfRun(block);
            const auto count = std::min(end * kColumns, width_) - block * kColumns;
            const std::span run(pixels + static_cast<std::ptrdiff_t>(block) * kColumns,
                                static_cast<std::size_t>(count));
            if (isFilled)
                fillRun(run, colors[row]);
            else if (!backdrop.empty())
                fillOpaque(run, backdrop[row]);
            block = end;
        }
    }
}

/// The first block after this one that is not filled when this one is, or the other way round.
int RowFill::endOfRun(int block) const {
    auto word = static_cast<std::size_t>(block / kBits);
    const std::uint64_t like = (filled_[word] & bitOf(block)) != 0 ? ~std::uint64_t{0} : 0;
    auto unlike = (filled_[word] ^ like) & ~(bitOf(block) - 1);
    while (unlike == 0) {
        if (++word == filled_.size()) return blocks_;
        unlike = filled_[word] ^ like;
    }
    return std::min(blocks_, static_cast<int>(word) * kBits + std::countr_zero(unlike));
}

} // namespace rewindle
