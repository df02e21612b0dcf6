#pragma once

#include "base/Color.h"
#include "base/Geometry.h"

#include <span>

namespace rewindle {

/// From `topColor` at `topY` to `bottomColor` at `bottomY`, and the same colours beyond.
struct VerticalGradient {
    double topY = 0;
    double bottomY = 0;
    Color topColor, bottomColor;
    friend bool operator==(const VerticalGradient&, const VerticalGradient&) = default;
};

/// A stretch of neighbouring columns, each with a minimum and a maximum. Column i stands at x = `firstX` + i *
/// `columnStride`, value v at y = `midY` - v * `amplitudeScale`.
///
/// The filled shape has the maxima, joined by straight lines, for its upper and the minima for its lower edge. A single
/// column is a rectangle from its x on, one stride wide.
struct EnvelopeStrip {
    std::span<const float> minima, maxima; // of the same size, at least 1; every value is a number
    double firstX = 0;
    double columnStride = 0;
    double midY = 0;
    double amplitudeScale = 0;
    VerticalGradient fill; // in the coordinates of the strip
};

/// A surface that is drawn on in two dimensions, in points from its top left corner, with antialiased edges.
///
/// Threads: interface thread, during one drawing.
class GraphicsContext {
public:
    virtual ~GraphicsContext() = default;

    /// Remembers translation and clip until the matching `restoreState`.
    virtual void saveState() = 0;
    virtual void restoreState() = 0;
    /// Moves the origin for what follows.
    virtual void translate(double dx, double dy) = 0;
    /// Leaves nothing to be drawn outside of `rect`, and of the clips before.
    virtual void clip(const Rect& rect) = 0;

    virtual void fillEnvelope(const EnvelopeStrip& strip) = 0;
    virtual void fillRect(const Rect& rect, const Color& color) = 0;
    /// A line of that width, half of it on each side of the rectangle's edge.
    virtual void strokeRect(const Rect& rect, double lineWidth, const Color& color) = 0;
};

} // namespace rewindle
