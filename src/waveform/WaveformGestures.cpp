#include "waveform/WaveformGestures.h"

#include <cmath>

namespace rewindle {
namespace {

constexpr double kExportDragThreshold = 28;   // points
constexpr double kMinSelectionDragPoints = 4; // horizontally

bool contains(const Rect& rect, Point point) {
    return point.x >= rect.x && point.x <= rect.x + rect.width && point.y >= rect.y &&
           point.y <= rect.y + rect.height;
}

bool isDrag(Point from, Point to) {
    return std::abs(to.x - from.x) >= kMinSelectionDragPoints;
}

} // namespace

void WaveformGestures::mouseDown(const MouseEvent& event) {
    pressActivatedWindow_ = firstMouseEventNumber_ == event.eventNumber;
    firstMouseEventNumber_.reset();
    if (*isExporting_ || !editor_.ringBuffer()) return;
    cancel();
    const auto& marks = editor_.marks();
    const double frame = editor_.frameAt(event.location.x);
    if (event.modifiers.shift && marks.hasSelection()) {
        extendSelection(marks.fixedEndFor(frame), frame);
    } else if (event.modifiers.shift && marks.insertMarkerFrame) {
        extendSelection(*marks.insertMarkerFrame, frame);
    } else if (isInSelection(event.location)) {
        isDraggingSelectionForExport_ = true;
        exportDragStartPoint_ = event.location;
    } else if (pressActivatedWindow_) {
        firstMouseGestureStartPoint_ = event.location;
    } else {
        beginSelection(event.location);
    }
}

void WaveformGestures::beginSelection(Point location) {
    const double frame = editor_.frameAt(location.x);
    isCreatingSelection_ = true;
    selectionGestureStartPoint_ = location;
    editor_.beginSelection(frame);
}

void WaveformGestures::extendSelection(double fixedFrame, double frame) {
    isExtendingSelection_ = true;
    selectionExtendFixedFrame_ = fixedFrame;
    editor_.stopFollowing();
    editor_.stopAudition();
    editor_.select(fixedFrame, frame);
}

void WaveformGestures::mouseDragged(const MouseEvent& event) {
    if (*isExporting_) return;
    if (firstMouseGestureStartPoint_) {
        if (!isDrag(*firstMouseGestureStartPoint_, event.location)) return;
        beginSelection(*firstMouseGestureStartPoint_);
        firstMouseGestureStartPoint_.reset();
    }
    const double frame = editor_.frameAt(event.location.x);
    if (isExtendingSelection_) {
        editor_.select(*selectionExtendFixedFrame_, frame);
    } else if (isCreatingSelection_) {
        editor_.stopFollowing();
        editor_.moveSelectionEnd(frame);
    } else if (isDraggingSelectionForExport_ && mayBeginDragOut(event.location)) {
        beginDragOut(event);
    }
}

bool WaveformGestures::mayBeginDragOut(Point location) const {
    const Size size = editor_.axis().size;
    const double distance = std::hypot(location.x - exportDragStartPoint_->x, location.y - exportDragStartPoint_->y);
    return distance > kExportDragThreshold || !contains({0, 0, size.width, size.height}, location);
}

void WaveformGestures::beginDragOut(const MouseEvent& event) {
    cancel();
    const auto range = editor_.marks().selectedRange();
    const auto rect = editor_.selectionRectOnScreen();
    if (!range || !rect) return;
    *isExporting_ = true; // before the call, in which the drag may come to its end
    const auto onEnded = [flag = std::weak_ptr(isExporting_)] {
        if (const auto exporting = flag.lock()) *exporting = false;
    };
    if (!dragSource_.beginDrag(*range, *rect, event, onEnded)) *isExporting_ = false;
}

void WaveformGestures::mouseUp(const MouseEvent& event) {
    if (*isExporting_) return;
    if (isExtendingSelection_) {
        endExtending();
    } else if (isCreatingSelection_) {
        endCreating(event);
    } else if (isDraggingSelectionForExport_ && !pressActivatedWindow_) {
        editor_.dropPlayhead(editor_.frameAt(event.location.x));
    }
    cancel();
}

void WaveformGestures::endExtending() {
    if (!editor_.marks().hasSelection()) editor_.clearSelection();
    editor_.updateLiveFollowArming();
}

void WaveformGestures::endCreating(const MouseEvent& event) {
    const bool stands = editor_.marks().hasSelection() && isDrag(*selectionGestureStartPoint_, event.location);
    if (!stands) editor_.dropPlayhead(editor_.frameAt(event.location.x));
}

void WaveformGestures::cancel() {
    firstMouseGestureStartPoint_.reset();
    isCreatingSelection_ = false;
    selectionGestureStartPoint_.reset();
    isExtendingSelection_ = false;
    selectionExtendFixedFrame_.reset();
    isDraggingSelectionForExport_ = false;
    exportDragStartPoint_.reset();
}

void WaveformGestures::panDragged(Point location) {
    if (!lastPanLocation_) return;
    const auto axis = editor_.axis();
    const double frames = axis.frame(lastPanLocation_->x) - axis.frame(location.x); // the content follows the pointer
    lastPanLocation_ = location;
    editor_.drag(frames);
}

bool WaveformGestures::isInSelection(Point location) const {
    const auto rect = editor_.marks().hasSelection() ? editor_.selectionRectOnScreen() : std::nullopt;
    return rect && contains(*rect, location);
}

CursorShape WaveformGestures::cursorShape(Point location, ModifierFlags modifiers) const {
    if (!editor_.ringBuffer()) return CursorShape::arrow;
    if (isDraggingSelectionForExport_ || *isExporting_) return CursorShape::closedHand;
    if (isExtendingSelection_) return CursorShape::resizeLeftRight;
    if (isCreatingSelection_) return CursorShape::iBeam;
    if (modifiers.shift && editor_.marks().hasMarks()) return CursorShape::resizeLeftRight;
    return isInSelection(location) ? CursorShape::openHand : CursorShape::iBeam;
}

} // namespace rewindle
