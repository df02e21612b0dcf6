#include "ui/waveform/WaveformInput.h"

#include <utility>

namespace rewindle {
namespace {

constexpr double kUnitsPerWheelStep = 120; // of Qt's angles

Point pointOf(const QPointF& position) {
    return {position.x(), position.y()};
}

KeyCode keyCode(int key) {
    switch (key) {
    case Qt::Key_Space: return KeyCode::space;
    case Qt::Key_Escape: return KeyCode::escape;
    case Qt::Key_Home: return KeyCode::home;
    case Qt::Key_End: return KeyCode::end;
    case Qt::Key_Left: return KeyCode::leftArrow;
    case Qt::Key_Right: return KeyCode::rightArrow;
    default: return KeyCode::other;
    }
}

Qt::KeyboardModifier modifierOf(int key) {
    switch (key) {
    case Qt::Key_Shift: return Qt::ShiftModifier;
    case Qt::Key_Control: return Qt::ControlModifier;
    case Qt::Key_Alt: return Qt::AltModifier;
    case Qt::Key_Meta: return Qt::MetaModifier;
    default: return Qt::NoModifier;
    }
}

} // namespace

ModifierFlags modifierFlags(Qt::KeyboardModifiers modifiers) {
    return {.shift = modifiers.testFlag(Qt::ShiftModifier),
            .control = modifiers.testFlag(Qt::MetaModifier),
            .option = modifiers.testFlag(Qt::AltModifier),
            .command = modifiers.testFlag(Qt::ControlModifier)};
}

ModifierFlags modifierFlagsAfter(const QKeyEvent& event) {
    return modifierFlags(event.modifiers().setFlag(modifierOf(event.key()), event.type() == QEvent::KeyPress));
}

KeyEvent keyEvent(const QKeyEvent& event) {
    // The key rather than its text, which Ctrl turns into a control character.
    const int key = event.key();
    const bool isCharacter = key > 0 && key <= 0xFF;
    return {.code = keyCode(key),
            .character = isCharacter ? static_cast<char32_t>(key) : 0,
            .modifiers = modifierFlags(event.modifiers()),
            .isRepeat = event.isAutoRepeat()};
}

MouseEvent mouseEvent(const QMouseEvent& event, std::int64_t number) {
    return {pointOf(event.position()), modifierFlags(event.modifiers()), number};
}

ScrollEvent scrollEvent(const QWheelEvent& event, bool hasPixels) {
    const bool isPrecise = hasPixels && !event.pixelDelta().isNull();
    const QPointF delta = isPrecise ? QPointF(event.pixelDelta()) : QPointF(event.angleDelta()) / kUnitsPerWheelStep;
    ScrollEvent scroll{pointOf(event.position()), delta.x(), delta.y(), isPrecise, modifierFlags(event.modifiers())};
    if (scroll.modifiers.shift && scroll.deltaX == 0) std::swap(scroll.deltaX, scroll.deltaY);
    return scroll;
}

Qt::CursorShape qtCursorShape(CursorShape shape) {
    switch (shape) {
    case CursorShape::arrow: return Qt::ArrowCursor;
    case CursorShape::iBeam: return Qt::IBeamCursor;
    case CursorShape::openHand: return Qt::OpenHandCursor;
    case CursorShape::closedHand: return Qt::ClosedHandCursor;
    case CursorShape::resizeLeftRight: return Qt::SizeHorCursor;
    }
    return Qt::ArrowCursor;
}

} // namespace rewindle
