#pragma once

#include <cstdint>

namespace rewindle {

/// The pace of a window's frame clock; ordered, the faster one is the greater.
enum class AnimationClockMode : std::uint8_t { steady = 0, vsync = 1 };

/// A view that is paced by its window's frame clock.
///
/// Threads: interface thread.
class DisplayClockClient {
public:
    virtual ~DisplayClockClient() = default;
    /// A frame of the display link, while the window can be seen.
    virtual void displayLinkTick() = 0;
    /// A fire of the timer; `visible` says whether the window can be seen.
    virtual void timerTick(bool visible) = 0;
    [[nodiscard]] virtual AnimationClockMode preferredClockMode() const = 0;
};

} // namespace rewindle
