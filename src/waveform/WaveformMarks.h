#pragma once

#include "waveform/ClipOutlets.h"

#include <optional>

namespace rewindle {

/// A selection shorter than this does not count as one.
constexpr double minSelectionFrames = 480;

/// What the user has marked on the time axis. Units: frame numbers, with fractions.
struct WaveformMarks {
    std::optional<double> selectionAnchorFrame;  // where the selection began
    std::optional<double> selectionCurrentFrame; // its end that moves
    std::optional<double> insertMarkerFrame;     // the playhead

    /// Both ends are set, however near to each other.
    [[nodiscard]] bool hasSelectionEnds() const { return selectionAnchorFrame && selectionCurrentFrame; }
    [[nodiscard]] bool hasSelection() const;
    /// A playhead or a selection.
    [[nodiscard]] bool hasMarks() const { return insertMarkerFrame || hasSelection(); }
    /// Requires: hasSelectionEnds().
    [[nodiscard]] double selectionStart() const;
    [[nodiscard]] double selectionEnd() const;
    /// The selection with its ends rounded to whole frames; none without a selection.
    [[nodiscard]] std::optional<ClipRange> selectedRange() const;

    void select(double anchor, double current);
    void clearSelection();
    /// The end that stays when the selection is extended to `frame`: the one farther away; the left one when both are
    /// equally far.
    /// Requires: hasSelectionEnds().
    [[nodiscard]] double fixedEndFor(double frame) const;
    /// Moves the selection by `step`, to the right when it is positive, or with `extends` only its end on that side,
    /// outwards. It stays within [lower, upper], and the playhead goes to its start.
    /// Requires: hasSelectionEnds().
    void nudgeSelection(double step, bool extends, double lower, double upper);
};

} // namespace rewindle
