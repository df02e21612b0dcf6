#include "platform/widgets/QtGraphicsContext.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace rewindle {
namespace {

constexpr std::uint32_t kOpaque = 255;
constexpr unsigned kFull = 256; // coverage of a whole pixel

std::uint32_t byte(double value) {
    return static_cast<std::uint32_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

/// Premultiplied, as QImage has it.
std::uint32_t pixelOf(const Color& color) {
    const double alpha = std::clamp(color.alpha, 0.0, 1.0);
    return byte(alpha) << 24 | byte(color.red * alpha) << 16 | byte(color.green * alpha) << 8 |
           byte(color.blue * alpha);
}

/// `share` is of 256.
std::uint32_t scaled(std::uint32_t pixel, unsigned share) {
    constexpr std::uint32_t kEven = 0x00FF00FF;
    const std::uint32_t redBlue = ((pixel & kEven) * share >> 8) & kEven;
    const std::uint32_t alphaGreen = ((pixel >> 8) & kEven) * share & ~kEven;
    return redBlue | alphaGreen;
}

unsigned shareOf(double covered) {
    return static_cast<unsigned>(std::lround(std::clamp(covered, 0.0, 1.0) * kFull));
}

void blend(std::uint32_t& pixel, std::uint32_t color, unsigned share) {
    if (share >= kFull && color >> 24 == kOpaque) {
        pixel = color;
        return;
    }
    const std::uint32_t source = scaled(color, share);
    const std::uint32_t alpha = source >> 24;
    pixel = source + scaled(pixel, kFull - alpha - (alpha >> 7));
}

/// The share of [cell, cell + 1) that lies in [low, high).
double overlap(int cell, double low, double high) {
    return std::clamp(std::min(high, cell + 1.0) - std::max(low, static_cast<double>(cell)), 0.0, 1.0);
}

int floorOf(double value) {
    return static_cast<int>(std::floor(value));
}

} // namespace

/// The upper or the lower edge of a strip, in pixels.
class QtGraphicsContext::Outline {
public:
    Outline(std::span<const float> values, double zero, double scale) : values_(values), zero_(zero), scale_(scale) {}
    /// At `share` of the way from one column to the next.
    [[nodiscard]] double y(std::size_t column, double share) const {
        const auto from = static_cast<double>(values_[column]);
        const auto to = static_cast<double>(values_[std::min(column + 1, values_.size() - 1)]);
        return zero_ - (from + (to - from) * share) * scale_;
    }

private:
    std::span<const float> values_;
    double zero_, scale_;
};

void QtGraphicsContext::begin(QImage& image, Size size) {
    assert(image.format() == QImage::Format_ARGB32_Premultiplied);
    bits_ = reinterpret_cast<std::uint32_t*>(image.bits());
    width_ = image.width();
    height_ = image.height();
    stride_ = static_cast<int>(image.bytesPerLine() / 4);
    scaleX_ = width_ / std::max(size.width, 1.0);
    scaleY_ = height_ / std::max(size.height, 1.0);
    state_ = {0, 0, {0, 0, static_cast<double>(width_), static_cast<double>(height_)}};
    saved_.clear();
    coverage_.assign(static_cast<std::size_t>(height_) + 2, 0);
}

void QtGraphicsContext::restoreState() {
    assert(!saved_.empty());
    state_ = saved_.back();
    saved_.pop_back();
}

void QtGraphicsContext::translate(double dx, double dy) {
    state_.dx += dx;
    state_.dy += dy;
}

void QtGraphicsContext::clip(const Rect& rect) {
    state_.clip = pixels(rect);
}

/// As far as the clip lets it be seen.
QtGraphicsContext::Box QtGraphicsContext::pixels(const Rect& rect) const {
    const Box& clip = state_.clip;
    const double x = (rect.x + state_.dx) * scaleX_;
    const double y = (rect.y + state_.dy) * scaleY_;
    return {std::max(x, clip.left), std::max(y, clip.top), std::min(x + rect.width * scaleX_, clip.right),
            std::min(y + rect.height * scaleY_, clip.bottom)};
}

std::uint32_t* QtGraphicsContext::pixelAt(int x, int y) const {
    return bits_ + static_cast<std::ptrdiff_t>(y) * stride_ + x;
}

// The envelope

void QtGraphicsContext::fillEnvelope(const EnvelopeStrip& strip) {
    prepareRamp(strip.fill);
    const double zero = (strip.midY + state_.dy) * scaleY_;
    const Outline upper(strip.maxima, zero, strip.amplitudeScale * scaleY_);
    const Outline lower(strip.minima, zero, strip.amplitudeScale * scaleY_);
    const std::size_t pieces = std::max<std::size_t>(strip.minima.size(), 2) - 1;
    const double first = (strip.firstX + state_.dx) * scaleX_;
    const double step = strip.columnStride * scaleX_;
    const double left = std::max(first, state_.clip.left);
    const double right = std::min(first + step * static_cast<double>(pieces), state_.clip.right);
    if (left >= right) return;
    auto piece = std::min(static_cast<std::size_t>((left - first) / step), pieces - 1);
    for (int x = floorOf(left); x < right; ++x) {
        Rows above{height_, 0};
        Rows below{height_, 0};
        const double end = std::min(right, x + 1.0);
        for (double from = std::max(left, static_cast<double>(x)); from < end;) {
            const double start = first + step * static_cast<double>(piece);
            const bool isLast = piece + 1 >= pieces;
            const double to = isLast ? end : std::min(end, start + step);
            const double a = (from - start) / step;
            const double b = (to - start) / step;
            const auto top = addEdge(upper.y(piece, a), upper.y(piece, b), to - from);
            const auto bottom = addEdge(lower.y(piece, a), lower.y(piece, b), from - to);
            above = {std::min(above.first, top.first), std::max(above.end, top.end)};
            below = {std::min(below.first, bottom.first), std::max(below.end, bottom.end)};
            if (to < end) ++piece;
            from = to;
        }
        fillColumn(x, above, below);
    }
}

/// Counts what lies below an edge, over `width` pixels, as covered; the other way round when that is negative. Returns
/// the rows in which that changes something.
QtGraphicsContext::Rows QtGraphicsContext::addEdge(double y0, double y1, double width) {
    const double low = state_.clip.top;
    const double high = state_.clip.bottom;
    const double top = std::min(y0, y1);
    const double bottom = std::max(y0, y1);
    if (bottom <= low || top >= high || bottom - top < 1e-6) return addFlat(std::clamp(top, low, high), width);
    const double perPixel = width / (bottom - top);
    const double from = std::max(top, low);
    const double to = std::min(bottom, high);
    Rows rows = addSlope(from, to, (to - from) * perPixel);
    if (top < low) rows.first = addFlat(low, (low - top) * perPixel).first;
    if (bottom > high) rows.end = addFlat(high, (bottom - high) * perPixel).end;
    return rows;
}

QtGraphicsContext::Rows QtGraphicsContext::addSlope(double top, double bottom, double width) {
    if (bottom - top < 1e-6) return addFlat(top, width);
    const int first = floorOf(top);
    const int last = floorOf(bottom);
    const double half = width / (2 * (bottom - top));
    double areaAbove = 0; // below the slope, down to the top of the row
    double before = 0;
    for (int row = first; row <= last; ++row) {
        const double floor = row + 1.0;
        const double area =
            floor >= bottom ? width * (floor - (top + bottom) / 2) : half * (floor - top) * (floor - top);
        const double covered = area - areaAbove;
        coverage_[static_cast<std::size_t>(row)] += static_cast<float>(covered - before);
        before = covered;
        areaAbove = area;
    }
    coverage_[static_cast<std::size_t>(last) + 1] += static_cast<float>(width - before);
    return {first, last + 2};
}

QtGraphicsContext::Rows QtGraphicsContext::addFlat(double y, double width) {
    const int row = floorOf(y);
    const double covered = width * (row + 1 - y);
    coverage_[static_cast<std::size_t>(row)] += static_cast<float>(covered);
    coverage_[static_cast<std::size_t>(row) + 1] += static_cast<float>(width - covered);
    return {row, row + 2};
}

/// Draws what has been counted in a column of pixels, and forgets it.
void QtGraphicsContext::fillColumn(int x, Rows upper, Rows lower) {
    const int end = std::max(upper.end, lower.end);
    float covered = 0;
    auto* pixel = pixelAt(x, upper.first);
    int row = upper.first;
    if (upper.end < lower.first) {
        fillCovered(pixel, row, upper.end, covered);
        const unsigned share = shareOf(static_cast<double>(covered));
        for (row = upper.end; row < lower.first; ++row, pixel += stride_)
            blend(*pixel, ramp_[static_cast<std::size_t>(row)], share);
    }
    fillCovered(pixel, row, std::min(end, height_), covered);
    std::fill(coverage_.begin() + upper.first, coverage_.begin() + end, 0.0F);
}

void QtGraphicsContext::fillCovered(std::uint32_t*& pixel, int row, int end, float& covered) {
    for (; row < end; ++row, pixel += stride_) {
        covered += coverage_[static_cast<std::size_t>(row)];
        const unsigned share = shareOf(static_cast<double>(covered));
        if (share > 0) blend(*pixel, ramp_[static_cast<std::size_t>(row)], share);
    }
}

void QtGraphicsContext::prepareRamp(const VerticalGradient& gradient) {
    const double top = state_.dy;
    if (gradient == rampGradient_ && top == rampTop_ && ramp_.size() == static_cast<std::size_t>(height_)) return;
    rampGradient_ = gradient;
    rampTop_ = top;
    ramp_.resize(static_cast<std::size_t>(height_));
    const double length = std::max(gradient.bottomY - gradient.topY, 1e-9);
    for (std::size_t row = 0; row < ramp_.size(); ++row) {
        const double y = (static_cast<double>(row) + 0.5) / scaleY_ - top;
        const double share = std::clamp((y - gradient.topY) / length, 0.0, 1.0);
        ramp_[row] = pixelOf(gradient.topColor.blended(share, gradient.bottomColor));
    }
}

// Rectangles

void QtGraphicsContext::fillRect(const Rect& rect, const Color& color) {
    const Box box = pixels(rect);
    if (box.left >= box.right || box.top >= box.bottom) return;
    const std::uint32_t fill = pixelOf(color);
    const int last = static_cast<int>(std::ceil(box.right)) - 1;
    for (int y = floorOf(box.top); y < box.bottom; ++y) {
        const double height = overlap(y, box.top, box.bottom);
        const unsigned inside = shareOf(height);
        const int first = floorOf(box.left);
        blend(*pixelAt(first, y), fill, shareOf(height * overlap(first, box.left, box.right)));
        for (int x = first + 1; x < last; ++x)
            blend(*pixelAt(x, y), fill, inside);
        if (last > first) blend(*pixelAt(last, y), fill, shareOf(height * overlap(last, box.left, box.right)));
    }
}

void QtGraphicsContext::strokeRect(const Rect& rect, double lineWidth, const Color& color) {
    const double half = lineWidth / 2;
    const Rect outer{rect.x - half, rect.y - half, rect.width + lineWidth, rect.height + lineWidth};
    const double sides = outer.height - 2 * lineWidth;
    fillRect({outer.x, outer.y, outer.width, lineWidth}, color);
    fillRect({outer.x, outer.y + outer.height - lineWidth, outer.width, lineWidth}, color);
    fillRect({outer.x, outer.y + lineWidth, lineWidth, sides}, color);
    fillRect({outer.x + outer.width - lineWidth, outer.y + lineWidth, lineWidth, sides}, color);
}

} // namespace rewindle
