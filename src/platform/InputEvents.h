#pragma once

#include "base/Geometry.h"

#include <cstdint>

namespace rewindle {

/// The keys held down during an event.
struct ModifierFlags {
    bool shift = false;
    bool control = false;
    bool option = false;
    bool command = false;
    friend bool operator==(const ModifierFlags&, const ModifierFlags&) = default;
};

/// The keys that have a meaning of their own, by their numbers in the table of virtual keys.
enum class KeyCode : std::uint16_t {
    space = 49,
    escape = 53,
    home = 115,
    end = 119,
    leftArrow = 123,
    rightArrow = 124,
    other = 0xFFFF
};

/// A press, move or release of a mouse button. The location is the view's: points from its top left corner.
struct MouseEvent {
    Point location = {};
    ModifierFlags modifiers = {};
    std::int64_t eventNumber = 0; // one for each press; tells which press activated the window
};

struct KeyEvent {
    KeyCode code = KeyCode::other;
    char32_t character = 0; // that the key types, 0 for none
    ModifierFlags modifiers = {};
    bool isRepeat = false;
};

/// Deltas are positive to the left and upwards: pixels when they are precise, else steps of a wheel.
struct ScrollEvent {
    Point location = {};
    double deltaX = 0;
    double deltaY = 0;
    bool hasPreciseDeltas = false;
    ModifierFlags modifiers = {};
};

/// A pinch by `magnification`: 0.1 enlarges by a tenth.
struct MagnifyEvent {
    Point location = {};
    double magnification = 0;
};

enum class CursorShape : std::uint8_t { arrow, iBeam, openHand, closedHand, resizeLeftRight };

} // namespace rewindle
