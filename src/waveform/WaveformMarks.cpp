#include "waveform/WaveformMarks.h"

#include <algorithm>
#include <cmath>

namespace rewindle {
namespace {

constexpr double kHalfFrame = 0.5; // far more than the rounding errors of places on the screen turned into frames

struct Ends {
    double low, high;
};

/// The length never changes.
Ends slid(Ends ends, double step, double lower, double upper) {
    ends.low += step;
    ends.high += step;
    const double below = std::max(lower - ends.low, 0.0);
    const double above = std::max(ends.high + below - upper, 0.0);
    return {ends.low + below - above, ends.high + below - above};
}

/// Only outwards, and never to less than a selection.
Ends grown(Ends ends, double step, double lower, double upper) {
    if (step > 0) return {ends.low, std::max(std::min(upper, ends.high + step), ends.low + minSelectionFrames)};
    return {std::min(std::max(lower, ends.low + step), ends.high - minSelectionFrames), ends.high};
}

} // namespace

bool WaveformMarks::hasSelection() const {
    return hasSelectionEnds() && std::abs(*selectionCurrentFrame - *selectionAnchorFrame) >= minSelectionFrames;
}

double WaveformMarks::selectionStart() const {
    return std::min(*selectionAnchorFrame, *selectionCurrentFrame);
}

double WaveformMarks::selectionEnd() const {
    return std::max(*selectionAnchorFrame, *selectionCurrentFrame);
}

std::optional<ClipRange> WaveformMarks::selectedRange() const {
    if (!hasSelection()) return std::nullopt;
    return ClipRange{std::llround(selectionStart()), std::llround(selectionEnd())};
}

void WaveformMarks::select(double anchor, double current) {
    selectionAnchorFrame = anchor;
    selectionCurrentFrame = current;
}

void WaveformMarks::clearSelection() {
    selectionAnchorFrame.reset();
    selectionCurrentFrame.reset();
}

double WaveformMarks::fixedEndFor(double frame) const {
    const double middle = (selectionStart() + selectionEnd()) / 2;
    return frame >= middle - kHalfFrame ? selectionStart() : selectionEnd();
}

void WaveformMarks::nudgeSelection(double step, bool extends, double lower, double upper) {
    const Ends ends{selectionStart(), selectionEnd()};
    const auto [low, high] = extends ? grown(ends, step, lower, upper) : slid(ends, step, lower, upper);
    select(low, high);
    if (high - low >= minSelectionFrames) insertMarkerFrame = low;
}

} // namespace rewindle
