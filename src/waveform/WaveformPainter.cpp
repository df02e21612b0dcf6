#include "waveform/WaveformPainter.h"

namespace rewindle {
namespace {

constexpr double kFirstColumnX = 0.5;

/// The frame's gradient, whichever way its axis points.
VerticalGradient verticalGradient(const WaveformFrame& frame) {
    if (!frame.useGradient) return {0, frame.viewport.height, frame.flatColor, frame.flatColor};
    if (frame.gradStart.y < frame.gradEnd.y) {
        return {frame.gradStart.y, frame.gradEnd.y, frame.gradColor0, frame.gradColor1};
    }
    return {frame.gradEnd.y, frame.gradStart.y, frame.gradColor1, frame.gradColor0};
}

void paintOverlays(GraphicsContext& context, const WaveformOverlays& overlays, const WaveformTheme& theme,
                   bool frozen) {
    if (overlays.writeHead) context.fillRect(*overlays.writeHead, frozen ? theme.headFrozen : theme.head);
    if (overlays.selection) {
        context.fillRect(*overlays.selection, theme.selectionFill);
        context.strokeRect(selectionEdge(*overlays.selection), 1, theme.selectionStroke);
    }
    if (!overlays.cursorLine) return;
    forEachDash(*overlays.cursorLine, [&](const Rect& dash) { context.fillRect(dash, theme.playhead); });
}

} // namespace

void WaveformPainter::paint(GraphicsContext& context, const WaveformFrame& frame, std::span<const float> minima,
                            std::span<const float> maxima, const WaveformOverlays& overlays,
                            const WaveformTheme& theme, bool frozen) {
    paintEnvelope(context, frame, minima, maxima);
    paintOverlays(context, overlays, theme, frozen);
}

void WaveformPainter::paintEnvelope(GraphicsContext& context, const WaveformFrame& frame,
                                    std::span<const float> minima, std::span<const float> maxima) {
    const double shift = frame.columnStride * frame.fractionPoints;
    contiguousRuns(minima, static_cast<std::size_t>(frame.columnCount), runs_); // a gap is one in both
    context.saveState();
    context.translate(-shift, 0);
    context.clip({shift, 0, frame.viewport.width, frame.viewport.height});
    for (const auto& run : runs_) {
        EnvelopeStrip strip;
        strip.minima = minima.subspan(run.start, run.end - run.start);
        strip.maxima = maxima.subspan(run.start, run.end - run.start);
        strip.firstX = static_cast<double>(run.start) * frame.columnStride + kFirstColumnX;
        strip.columnStride = frame.columnStride;
        strip.midY = frame.midY;
        strip.amplitudeScale = frame.amplitudeScale;
        strip.fill = verticalGradient(frame);
        context.fillEnvelope(strip);
    }
    context.restoreState();
}

} // namespace rewindle
