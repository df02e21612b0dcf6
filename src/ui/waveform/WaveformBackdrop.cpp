#include "ui/waveform/WaveformBackdrop.h"

#include "ui/components/NightfallPalette.h"

#include <algorithm>
#include <cmath>

namespace rewindle {
namespace {

constexpr double kSilenceAlpha = 0.22;

} // namespace

std::span<const QRgb> WaveformBackdrop::rows(int height, const WaveformTheme& theme, double scale) {
    if (theme == theme_ && scale == scale_ && rows_.size() == static_cast<std::size_t>(height)) return rows_;
    theme_ = theme;
    scale_ = scale;
    rows_.resize(static_cast<std::size_t>(height));
    // Whole pixels, about one point, around the middle.
    const double thickness = std::max(1.0, std::floor(scale));
    const double top = std::round((height - thickness) / 2);
    for (std::size_t row = 0; row < rows_.size(); ++row) {
        const auto y = static_cast<double>(row);
        Color color = theme.backgroundGradientStart.blended((y + 0.5) / height, theme.background);
        if (y >= top && y < top + thickness) color = color.blended(kSilenceAlpha, theme.waveformBottom);
        rows_[row] = toQColor(color).rgb();
    }
    return rows_;
}

} // namespace rewindle
