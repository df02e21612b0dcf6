#include "host/drawing/QtGraphicsContext.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace rewindle {
namespace {

constexpr int kColumns = StripEdges::kColumns;
static_assert(kColumns == RowFill::kColumns);

std::uint32_t byte(double value) {
    return static_cast<std::uint32_t>(std::lround(std::clamp(value, 0.0, 1.0) * 255));
}

/// Premultiplied, as QImage has it.
std::uint32_t pixelOf(const Color& color) {
    const double alpha = std::clamp(color.alpha, 0.0, 1.0);
    return byte(alpha) << 24 | byte(color.red * alpha) << 16 | byte(color.green * alpha) << 8 |
           byte(color.blue * alpha);
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
    /// Goes on to the line from this column to the next, which is `step` wide, at `share` of its length.
    void enter(std::size_t column, double share, double step) {
        const auto from = static_cast<double>(values_[column]);
        const auto to = static_cast<double>(values_[std::min(column + 1, values_.size() - 1)]);
        y_ = zero_ - (from + (to - from) * share) * scale_;
        perPixel_ = (from - to) * scale_ / step;
        widthPerRow_ = 1 / std::abs(perPixel_);
    }
    /// The next piece of that line.
    StripEdges::Piece advance(int column, double width) {
        const double left = y_;
        y_ += perPixel_ * width;
        return {column, width, left, y_, widthPerRow_};
    }

private:
    std::span<const float> values_;
    double zero_, scale_;
    double y_ = 0, perPixel_ = 0, widthPerRow_ = 0;
};

void QtGraphicsContext::begin(QImage& image, Size size, std::span<const std::uint32_t> backdrop) {
    assert(image.format() == QImage::Format_ARGB32_Premultiplied);
    bits_ = reinterpret_cast<std::uint32_t*>(image.bits());
    width_ = image.width();
    height_ = image.height();
    stride_ = static_cast<int>(image.bytesPerLine() / 4);
    scaleX_ = width_ / std::max(size.width, 1.0);
    scaleY_ = height_ / std::max(size.height, 1.0);
    state_ = {0, 0, {0, 0, static_cast<double>(width_), static_cast<double>(height_)}};
    saved_.clear();
    backdrop_ = backdrop;
    assert(backdrop.empty() || backdrop.size() == static_cast<std::size_t>(height_));
}

void QtGraphicsContext::end() {
    const auto backdrop = std::exchange(backdrop_, {});
    for (std::size_t row = 0; row < backdrop.size(); ++row)
        std::fill_n(pixelAt(0, static_cast<int>(row)), width_, backdrop[row]);
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
    edges_.begin(height_, state_.clip.top, state_.clip.bottom);
    rowFill_.begin(width_, height_);
    const double zero = (strip.midY + state_.dy) * scaleY_;
    Outline upper(strip.maxima, zero, strip.amplitudeScale * scaleY_);
    Outline lower(strip.minima, zero, strip.amplitudeScale * scaleY_);
    const std::size_t pieces = std::max<std::size_t>(strip.minima.size(), 2) - 1;
    const double first = (strip.firstX + state_.dx) * scaleX_;
    const double step = strip.columnStride * scaleX_;
    const double left = std::max(first, state_.clip.left);
    const double right = std::min(first + step * static_cast<double>(pieces), state_.clip.right);
    if (left >= right) return;
    int x = floorOf(left);
    double from = left;
    for (auto piece = std::min(static_cast<std::size_t>((left - first) / step), pieces - 1); from < right; ++piece) {
        const double start = first + step * static_cast<double>(piece);
        const double end = piece + 1 < pieces ? std::min(start + step, right) : right;
        upper.enter(piece, (from - start) / step, step);
        lower.enter(piece, (from - start) / step, step);
        while (from < end) {
            const double to = std::min(end, x + 1.0);
            edges_.addUpper(upper.advance(x % kColumns, to - from));
            edges_.addLower(lower.advance(x % kColumns, to - from));
            from = to;
            if (from >= x + 1.0 && ++x % kColumns == 0) endBlock(x / kColumns - 1);
        }
    }
    if (edges_.hasBlock()) endBlock(x / kColumns);
    rowFill_.fill(bits_, stride_, ramp_, std::exchange(backdrop_, {}));
    edges_.draw(bits_, stride_, width_, ramp_);
}

void QtGraphicsContext::endBlock(int block) {
    const auto covered = edges_.endBlock(block);
    rowFill_.add(block, covered.first, covered.end);
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
    end(); // the backdrop, in case that nothing was drawn before
    const std::uint32_t fill = pixelOf(color);
    const int first = floorOf(box.left);
    const int last = static_cast<int>(std::ceil(box.right)) - 1;
    for (int y = floorOf(box.top); y < box.bottom; ++y) {
        const double height = overlap(y, box.top, box.bottom);
        const auto fillPixels = [&](int x, int end, double covered) {
            const auto four = static_cast<float>(height * covered);
            const FourPixels shares[] = {sharesOf(FourFloats{four, four, four, four})};
            blend(std::span(pixelAt(x, y), static_cast<std::size_t>(end - x)), fill, shares);
        };
        fillPixels(first, first + 1, overlap(first, box.left, box.right));
        if (last > first + 1) fillPixels(first + 1, last, 1);
        if (last > first) fillPixels(last, last + 1, overlap(last, box.left, box.right));
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
