#pragma once

#include "platform/AnimatedWindow.h"
#include "render/clock/FrameClockServices.h"

#include <array>
#include <functional>
#include <memory>
#include <span>

namespace rewindle {

/// The share of `frame` that no opaque window covers, 0 to 1. The windows may overlap each other.
[[nodiscard]] double uncoveredShare(const Rect& frame, std::span<const CoveringWindow> above);

/// Tells whether a window can be seen.
///
/// Threads: interface thread.
class WindowVisibilityMonitor {
public:
    WindowVisibilityMonitor(std::weak_ptr<AnimatedWindow> window, const FrameClockServices& services);
    WindowVisibilityMonitor(const WindowVisibilityMonitor&) = delete;
    WindowVisibilityMonitor& operator=(const WindowVisibilityMonitor&) = delete;

    [[nodiscard]] bool isVisible() const { return visible_; }
    /// Called after each change of `isVisible`.
    void setOnChange(std::function<void()> onChange) { onChange_ = std::move(onChange); }

private:
    void evaluate();
    void updatePolling(const AnimatedWindow* window);
    [[nodiscard]] bool canBeSeen(const AnimatedWindow& window) const;
    void report(const AnimatedWindow* window) const;

    std::weak_ptr<AnimatedWindow> window_;
    const FrameClockServices services_;
    std::function<void()> onChange_ = [] {};
    bool visible_ = false;
    std::array<Observation, 3> observations_;
    std::unique_ptr<RepeatingTimer> pollTimer_; // while windows in front may cover this one without a notification
};

} // namespace rewindle
