#include "host/drawing/StripEdges.h"

#include <array>
#include <bit>

namespace rewindle {
namespace {

constexpr double kFlat = 1e-6; // rows; a line that rises by less has no slope that can be computed

bool areFull(FourPixels shares) {
    return std::ranges::all_of(std::bit_cast<std::array<std::uint16_t, 8>>(shares),
                               [](unsigned share) { return share == kFullShare; });
}

} // namespace

void StripEdges::begin(int rows, double top, double bottom) {
    height_ = rows;
    top_ = top;
    bottom_ = bottom;
    upper_ = lower_ = {};
    counts_.assign(static_cast<std::size_t>(rows + 3) * kColumns, 0);
    stretches_.clear();
    shares_.clear();
}

/// Counts what lies below an edge as covered; the other way round when the sign is negative.
void StripEdges::add(const Piece& piece, double sign, Extent& extent) {
    const double top = std::min(piece.left, piece.right);
    const double bottom = std::max(piece.left, piece.right);
    extent.top = std::min(extent.top, top);
    extent.bottom = std::max(extent.bottom, bottom);
    const double widthPerRow = piece.widthPerRow * sign;
    if (bottom - top < kFlat || bottom <= top_ || top >= bottom_)
        return addFlat(piece.column, std::clamp(top, top_, bottom_), piece.width * sign);
    if (top >= top_ && bottom <= bottom_) return addSlope(piece.column, top, bottom, widthPerRow);
    const double from = std::max(top, top_);
    const double to = std::min(bottom, bottom_);
    addFlat(piece.column, from, (from - top) * widthPerRow);
    addSlope(piece.column, from, to, widthPerRow);
    addFlat(piece.column, to, (bottom - to) * widthPerRow);
}

void StripEdges::addSlope(int column, double top, double bottom, double widthPerRow) {
    const int first = static_cast<int>(top); // which is not negative
    const int last = static_cast<int>(bottom);
    const double width = (bottom - top) * widthPerRow;
    const bool isOneRow = first == last;
    // The line cuts a triangle off the first row and one off the last. Between them, each row is covered by the same
    // amount more than the row above it.
    const double above = first + 1 - top;
    const double below = bottom - last;
    const double start = isOneRow ? width * (above - (bottom - top) / 2) : widthPerRow / 2 * above * above;
    const double end = isOneRow ? 0 : widthPerRow / 2 * below * below; // of the last row, which is not covered
    float* count = counts(first) + column;
    const auto add = [&](double more) {
        *count += static_cast<float>(more);
        count += kColumns;
    };
    add(start);
    if (last - first <= 1) {
        add(width - end - start);
    } else {
        add(widthPerRow * (above + 0.5) - start);
        for (int row = first + 2; row < last; ++row)
            add(widthPerRow);
        add(widthPerRow * (below + 0.5) - end);
    }
    add(end);
}

void StripEdges::addFlat(int column, double y, double width) {
    const int row = static_cast<int>(y);
    const double covered = width * (row + 1 - y);
    counts(row)[column] += static_cast<float>(covered);
    counts(row + 1)[column] += static_cast<float>(width - covered);
}

StripEdges::Rows StripEdges::rowsOf(const Extent& extent) const {
    return {static_cast<int>(std::clamp(extent.top, top_, bottom_)),
            static_cast<int>(std::clamp(extent.bottom, top_, bottom_)) + 2};
}

StripEdges::Rows StripEdges::endBlock(int block) {
    const Rows upper = rowsOf(upper_);
    const Rows lower = rowsOf(lower_);
    Rows between{upper.end, std::max(lower.first, upper.end)};
    FourFloats covered{};
    addStretch(block, {std::min(upper.first, lower.first), between.first}, covered);
    if (!areFull(sharesOf(covered))) between.end = between.first;
    addStretch(block, {between.end, std::max(upper.end, lower.end)}, covered);
    upper_ = lower_ = {};
    return between;
}

/// Takes the counts of these rows into account, and leaves zeros.
void StripEdges::addStretch(int block, Rows rows, FourFloats& covered) {
    stretches_.push_back({block, {rows.first, std::min(rows.end, height_)}, shares_.size()});
    for (int row = rows.first; row < rows.end; ++row) {
        covered += loadFour<FourFloats>(counts(row));
        storeFour(counts(row), FourFloats{});
        shares_.push_back({sharesOf(covered)});
    }
}

void StripEdges::draw(std::uint32_t* pixels, int stride, int width, std::span<const std::uint32_t> colors) const {
    for (const auto& [block, rows, firstShare] : stretches_) {
        const auto* shares = &shares_[firstShare];
        auto* four = pixels + static_cast<std::ptrdiff_t>(rows.first) * stride + std::ptrdiff_t{block} * kColumns;
        const auto columns = static_cast<std::size_t>(std::min(kColumns, width - block * kColumns));
        for (int row = rows.first; row < rows.end; ++row, ++shares, four += stride) {
            const auto color = colors[static_cast<std::size_t>(row)];
            if (columns == kColumns)
                blend(std::span<std::uint32_t, kColumns>(four, kColumns), color, {shares->four});
            else
                blend(std::span(four, columns), color, {shares->four});
        }
    }
}

} // namespace rewindle
