#pragma once

#include "base/Geometry.h"
#include "platform/InputEvents.h"

#include <optional>

namespace rewindle {

/// The widget that shows a waveform view, as the view sees it.
///
/// Threads: interface thread.
class WaveformViewHost {
public:
    virtual ~WaveformViewHost() = default;

    /// Has the view draw itself soon; several requests may become one drawing.
    virtual void setNeedsDisplay() = 0;
    /// The pointer's shape from now on, while it is over the view.
    virtual void setCursor(CursorShape shape) = 0;
    /// Gives the view the keyboard.
    virtual void makeFirstResponder() = 0;
    /// Where the pointer is; none when it is outside of the view.
    [[nodiscard]] virtual std::optional<Point> pointerLocation() const = 0;
    /// The desktop's sound for what cannot be done.
    virtual void beep() = 0;
};

} // namespace rewindle
