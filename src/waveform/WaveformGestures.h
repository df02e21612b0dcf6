#pragma once

#include "platform/InputEvents.h"
#include "waveform/ClipOutlets.h"
#include "waveform/WaveformEditor.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace rewindle {

/// What the mouse buttons mean over the waveform: selections, the playhead, drags to other programs, panning.
///
/// Threads:   interface thread.
/// Lifecycle: editor and drag source outlive it.
class WaveformGestures {
public:
    WaveformGestures(WaveformEditor& editor, ClipDragSource& dragSource) : editor_(editor), dragSource_(dragSource) {}

    /// The press with this number is the one that activates the window: it selects nothing unless it becomes a drag.
    void acceptFirstMouse(const MouseEvent& event) { firstMouseEventNumber_ = event.eventNumber; }
    void mouseDown(const MouseEvent& event);
    void mouseDragged(const MouseEvent& event);
    void mouseUp(const MouseEvent& event);
    /// The press that is under way has no meaning any more.
    void cancel();

    void panDown(Point location) { lastPanLocation_ = location; }
    void panDragged(Point location);
    void panUp() { lastPanLocation_.reset(); }

    /// Tells what a press there would do, or what the one under way does.
    [[nodiscard]] CursorShape cursorShape(Point location, ModifierFlags modifiers) const;

private:
    void beginSelection(Point location);
    void extendSelection(double fixedFrame, double frame);
    void endExtending();
    void endCreating(const MouseEvent& event);
    void beginDragOut(const MouseEvent& event);
    [[nodiscard]] bool isInSelection(Point location) const;
    [[nodiscard]] bool mayBeginDragOut(Point location) const;

    WaveformEditor& editor_;
    ClipDragSource& dragSource_;

    std::optional<Point> lastPanLocation_;
    std::optional<std::int64_t> firstMouseEventNumber_;
    std::optional<Point> firstMouseGestureStartPoint_; // of an activating press that has not become a drag
    bool pressActivatedWindow_ = false;
    bool isCreatingSelection_ = false;
    std::optional<Point> selectionGestureStartPoint_;
    bool isExtendingSelection_ = false;
    std::optional<double> selectionExtendFixedFrame_;
    bool isDraggingSelectionForExport_ = false;
    std::optional<Point> exportDragStartPoint_;
    std::shared_ptr<bool> isExporting_ = std::make_shared<bool>(false); // the drag may end after this object
};

} // namespace rewindle
