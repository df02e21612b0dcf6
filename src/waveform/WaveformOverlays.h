#pragma once

#include "base/Geometry.h"
#include "render/gpu/WaveformFrame.h"
#include "settings/WaveformTheme.h"
#include "waveform/AuditionCursor.h"
#include "waveform/WaveformMarks.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

namespace rewindle {

/// Where frames lie on the view's width.
struct FrameAxis {
    double viewStartFrame = 0;
    double visibleFrames = 1;
    Size size;

    [[nodiscard]] double x(double frame) const { return (frame - viewStartFrame) / visibleFrames * size.width; }
    [[nodiscard]] double frame(double x) const {
        return viewStartFrame + x / std::max(size.width, 1.0) * visibleFrames;
    }
    [[nodiscard]] bool shows(double x) const { return x >= 0 && x <= size.width; }
};

/// What lies over the envelope. Units: points. Each is absent when there is nothing to be seen of it.
struct WaveformOverlays {
    std::optional<Rect> writeHead;
    std::optional<Rect> selection;
    std::optional<Rect> cursorLine; // filled with dashes: the audition's cursor or the playhead
};

/// The part of the view that lies between the ends of the selection; none when that is outside of the view.
[[nodiscard]] std::optional<Rect> selectionRect(const WaveformMarks& marks, const FrameAxis& axis);

/// `headFrame` is absent while nothing has been captured.
[[nodiscard]] WaveformOverlays waveformOverlays(const FrameAxis& axis, std::optional<double> headFrame,
                                                const WaveformMarks& marks, const AuditionCursor& cursor);

/// The rectangle on which the edge of a selection is drawn.
[[nodiscard]] inline Rect selectionEdge(const Rect& selection) {
    return {selection.x + 0.5, selection.y + 0.5, selection.width - 1, selection.height - 1};
}

/// Calls `visit(rect)` for each dash of a cursor's line, from its top; the last one ends with the line.
template <class Visit>
void forEachDash(const Rect& line, Visit visit) {
    constexpr double kDashLength = 4;
    constexpr double kDashGap = 4;
    const int count = static_cast<int>(std::ceil(line.height / (kDashLength + kDashGap)));
    for (int i = 0; i < count; ++i) {
        const double top = i * (kDashLength + kDashGap);
        visit(Rect{line.x, line.y + top, line.width, std::min(kDashLength, line.height - top)});
    }
}

/// Replaces `quads` by those of the overlays, in drawing order. Keeps the memory of `quads`.
void overlayQuads(const WaveformOverlays& overlays, const WaveformTheme& theme, bool frozen,
                  std::vector<WaveformOverlayQuad>& quads);

} // namespace rewindle
