#include "waveform/WaveformView.h"

#include <algorithm>

namespace rewindle {
namespace {

constexpr double kScrollZoomSensitivity = 0.015; // zoom per unit of scroll
constexpr double kUnitsPerWheelStep = 10;

double scrolled(double delta, const ScrollEvent& event) {
    return event.hasPreciseDeltas ? delta : delta * kUnitsPerWheelStep;
}

} // namespace

void WaveformView::acceptFirstMouse(const MouseEvent& event) {
    gestures_.acceptFirstMouse(event);
}

void WaveformView::mouseDown(const MouseEvent& event) {
    editor_.noteInteraction();
    services_.host.makeFirstResponder();
    modifiers_ = event.modifiers;
    gestures_.mouseDown(event);
    refreshCursorAt(event.location);
}

void WaveformView::mouseDragged(const MouseEvent& event) {
    editor_.noteInteraction();
    modifiers_ = event.modifiers;
    gestures_.mouseDragged(event);
    refreshCursorAt(event.location);
}

void WaveformView::mouseUp(const MouseEvent& event) {
    editor_.noteInteraction();
    modifiers_ = event.modifiers;
    gestures_.mouseUp(event);
    refreshCursor();
}

void WaveformView::otherMouseDown(const MouseEvent& event) {
    editor_.noteInteraction();
    gestures_.panDown(event.location);
}

void WaveformView::otherMouseDragged(const MouseEvent& event) {
    editor_.noteInteraction();
    gestures_.panDragged(event.location);
}

void WaveformView::otherMouseUp(const MouseEvent&) {
    editor_.noteInteraction();
    gestures_.panUp();
}

void WaveformView::mouseMoved(const MouseEvent& event) {
    modifiers_ = event.modifiers;
    refreshCursorAt(event.location);
}

void WaveformView::flagsChanged(ModifierFlags modifiers) {
    modifiers_ = modifiers;
    refreshCursor();
}

void WaveformView::scrollWheel(const ScrollEvent& event) {
    editor_.noteInteraction();
    if (!event.modifiers.command) return pan(event);
    const double delta = scrolled(event.deltaY, event);
    if (delta == 0) return;
    const double zoom = editor_.timeline().xAxisMultiplier;
    editor_.setZoom(zoom * (1 - kScrollZoomSensitivity * delta), event.location.x, false);
}

void WaveformView::pan(const ScrollEvent& event) {
    const double delta = scrolled(event.deltaX, event);
    if (delta == 0) return;
    const FrameAxis axis = editor_.axis();
    editor_.pan(-delta * axis.visibleFrames / std::max(axis.size.width, 1.0));
}

void WaveformView::magnifyWithEvent(const MagnifyEvent& event) {
    const double zoom = editor_.timeline().xAxisMultiplier;
    editor_.setZoom(zoom * (1 + event.magnification), event.location.x, false);
}

void WaveformView::refreshCursor() {
    if (const auto location = services_.host.pointerLocation()) refreshCursorAt(*location);
}

void WaveformView::refreshCursorAt(Point location) {
    const CursorShape shape = gestures_.cursorShape(location, modifiers_);
    if (shape == shownCursor_) return;
    shownCursor_ = shape;
    services_.host.setCursor(shape);
}

} // namespace rewindle
