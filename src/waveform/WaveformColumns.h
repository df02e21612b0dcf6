#pragma once

#include "base/Geometry.h"

#include <cstdint>
#include <span>

namespace rewindle {

/// Points per column.
constexpr double kColumnStride = 2;

/// How the time axis is cut into columns. The columns lie on a fixed grid of frames, which is shifted by a fraction of a
/// column when it is drawn: so a picture that scrolls does not shimmer.
struct WaveformColumns {
    std::int64_t baseColumns = 1;
    std::int64_t columnCount = 3; // one more on each side, for the shift
    double visibleFrames = 0;
    double framesPerColumn = 0;
    double firstColumnFrame = 0;
    double fraction = 0; // of a column, 0 <= fraction < 1, by which all are shifted to the left
    double midY = 0;
    double amplitudeScale = 0; // points per unit of amplitude

    [[nodiscard]] double x(std::size_t column) const {
        return (static_cast<double>(column) - fraction) * kColumnStride + 0.5;
    }
    [[nodiscard]] double y(float value) const { return midY - amplitudeScale * static_cast<double>(value); }
};

[[nodiscard]] WaveformColumns waveformColumns(Size size, double viewStartFrame, double visibleFrames);

/// The box around all columns that have a minimum and a maximum, as far as it lies in the view; empty without any.
[[nodiscard]] Rect envelopeBounds(const WaveformColumns& columns, std::span<const float> minima,
                                  std::span<const float> maxima, Size size);

/// Takes infinite samples, and those far beyond the picture, for the largest that can be drawn. Gaps stay gaps.
void limitToDrawable(std::span<float> values);

} // namespace rewindle
