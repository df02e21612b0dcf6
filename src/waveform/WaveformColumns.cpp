#include "waveform/WaveformColumns.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace rewindle {
namespace {

constexpr double kFullScaleShare = 0.9; // of half the height

/// [low, high] of one axis as far as it lies in [0, limit]; both 0 when nothing does.
struct Span {
    double low, high;
    [[nodiscard]] Span within(double limit) const {
        const Span cut{std::max(low, 0.0), std::min(high, limit)};
        return cut.low <= cut.high ? cut : Span{0, 0};
    }
};

} // namespace

WaveformColumns waveformColumns(Size size, double viewStartFrame, double visibleFrames) {
    WaveformColumns columns;
    columns.baseColumns =
        static_cast<std::int64_t>(std::max(1.0, std::ceil(std::max(size.width, 1.0) / kColumnStride)));
    columns.columnCount = columns.baseColumns + 2;
    columns.visibleFrames = visibleFrames;
    columns.framesPerColumn = visibleFrames / static_cast<double>(columns.baseColumns);
    const double position = viewStartFrame / columns.framesPerColumn;
    columns.firstColumnFrame = columns.framesPerColumn * std::floor(position);
    columns.fraction = position - std::floor(position);
    columns.midY = size.height * 0.5;
    columns.amplitudeScale = size.height * 0.5 * kFullScaleShare;
    return columns;
}

void limitToDrawable(std::span<float> values) {
    constexpr float kMost = 10'000; // 80 dB beyond full scale; finite, so that sums with it are numbers
    for (float& value : values)
        value = std::clamp(value, -kMost, kMost); // NaN passes
}

Rect envelopeBounds(const WaveformColumns& columns, std::span<const float> minima, std::span<const float> maxima,
                    Size size) {
    const std::size_t count = std::min(minima.size(), maxima.size());
    float least = std::numeric_limits<float>::max();
    float greatest = std::numeric_limits<float>::lowest();
    std::size_t first = count;
    std::size_t last = 0;
    for (std::size_t i = 0; i < count; ++i) {
        if (std::isnan(minima[i]) || std::isnan(maxima[i])) continue;
        first = std::min(first, i);
        last = i;
        least = std::min(least, minima[i]);
        greatest = std::max(greatest, maxima[i]);
    }
    if (first == count) return {};
    const Span x = Span{columns.x(first), columns.x(last)}.within(size.width);
    const Span y = Span{columns.y(greatest), columns.y(least)}.within(size.height);
    return {x.low, y.low, x.high - x.low, y.high - y.low};
}

} // namespace rewindle
