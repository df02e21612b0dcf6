#include "waveform/WaveformOverlays.h"

namespace rewindle {
namespace {

constexpr double kWriteHeadWidth = 2;
constexpr double kPlayheadStrokeWidth = 1;
constexpr double kLeastSelectionWidth = 1;

std::optional<Rect> writeHeadRect(const FrameAxis& axis, std::optional<double> headFrame) {
    if (!headFrame) return std::nullopt;
    const double x = axis.x(*headFrame);
    if (!axis.shows(x)) return std::nullopt;
    return Rect{x - kWriteHeadWidth / 2, 0, kWriteHeadWidth, axis.size.height};
}

std::optional<Rect> cursorLineRect(const FrameAxis& axis, const WaveformMarks& marks, const AuditionCursor& cursor) {
    if (cursor.playbackCursorFrame && !cursor.cursorBlinkVisible) return std::nullopt;
    const auto frame = cursor.playbackCursorFrame ? cursor.playbackCursorFrame : marks.insertMarkerFrame;
    if (!frame || axis.size.height <= 0) return std::nullopt;
    const double x = axis.x(*frame);
    if (!axis.shows(x)) return std::nullopt;
    return Rect{x - kPlayheadStrokeWidth / 2, 0, kPlayheadStrokeWidth, axis.size.height};
}

void appendSelectionQuads(const Rect& selection, const WaveformTheme& theme,
                          std::vector<WaveformOverlayQuad>& quads) {
    const Rect edge = selectionEdge(selection);
    quads.push_back({selection, theme.selectionFill});
    quads.push_back({{edge.x, edge.y, edge.width, 1}, theme.selectionStroke});
    quads.push_back({{edge.x, edge.y + edge.height - 1, edge.width, 1}, theme.selectionStroke});
    quads.push_back({{edge.x, edge.y, 1, edge.height}, theme.selectionStroke});
    quads.push_back({{edge.x + edge.width - 1, edge.y, 1, edge.height}, theme.selectionStroke});
}

} // namespace

std::optional<Rect> selectionRect(const WaveformMarks& marks, const FrameAxis& axis) {
    if (!marks.hasSelectionEnds()) return std::nullopt;
    const double left = std::max(0.0, axis.x(marks.selectionStart()));
    const double right = std::min(axis.size.width, axis.x(marks.selectionEnd()));
    if (left >= right) return std::nullopt;
    return Rect{left, 0, right - left, axis.size.height};
}

WaveformOverlays waveformOverlays(const FrameAxis& axis, std::optional<double> headFrame, const WaveformMarks& marks,
                                  const AuditionCursor& cursor) {
    WaveformOverlays overlays;
    overlays.writeHead = writeHeadRect(axis, headFrame);
    overlays.selection = selectionRect(marks, axis);
    if (overlays.selection && overlays.selection->width < kLeastSelectionWidth) overlays.selection.reset();
    overlays.cursorLine = cursorLineRect(axis, marks, cursor);
    return overlays;
}

void overlayQuads(const WaveformOverlays& overlays, const WaveformTheme& theme, bool frozen,
                  std::vector<WaveformOverlayQuad>& quads) {
    quads.clear();
    if (overlays.writeHead) quads.push_back({*overlays.writeHead, frozen ? theme.headFrozen : theme.head});
    if (overlays.selection) appendSelectionQuads(*overlays.selection, theme, quads);
    if (!overlays.cursorLine) return;
    forEachDash(*overlays.cursorLine, [&](const Rect& dash) { quads.push_back({dash, theme.playhead}); });
}

} // namespace rewindle
