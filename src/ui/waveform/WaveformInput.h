#pragma once

#include "platform/InputEvents.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

namespace rewindle {

// Qt's events in the words of the core.

[[nodiscard]] ModifierFlags modifierFlags(Qt::KeyboardModifiers modifiers);
/// The modifiers that are down after the event, which itself may be about one of them.
[[nodiscard]] ModifierFlags modifierFlagsAfter(const QKeyEvent& event);
[[nodiscard]] KeyEvent keyEvent(const QKeyEvent& event);
[[nodiscard]] MouseEvent mouseEvent(const QMouseEvent& event, std::int64_t number);
/// A wheel that is turned while Shift is down scrolls horizontally. `hasPixels`: what the event tells in pixels can be
/// relied upon.
[[nodiscard]] ScrollEvent scrollEvent(const QWheelEvent& event, bool hasPixels);
[[nodiscard]] Qt::CursorShape qtCursorShape(CursorShape shape);

} // namespace rewindle
