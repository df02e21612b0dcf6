#pragma once

namespace rewindle {

/// Points, with the origin at the top left and y growing downwards.
struct Point {
    double x = 0;
    double y = 0;
    friend bool operator==(const Point&, const Point&) = default;
};

/// Width and height in points: pixels at scale 1.
struct Size {
    double width = 0;
    double height = 0;
    friend bool operator==(const Size&, const Size&) = default;
};

/// Points, with the origin at the top left and y growing downwards.
struct Rect {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    friend bool operator==(const Rect&, const Rect&) = default;
};

} // namespace rewindle
