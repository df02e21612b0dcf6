#include "render/clock/WindowVisibilityMonitor.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <string>

namespace rewindle {
namespace {

constexpr double kOpaqueAlpha = 0.999;
constexpr double kLeastVisibleShare = 0.05;
constexpr std::chrono::milliseconds kPollInterval(250);

/// The sides of a rectangle.
struct Sides {
    double left, top, right, bottom;
};

Sides clipped(const Rect& rect, const Rect& to) {
    return {std::max(rect.x, to.x), std::max(rect.y, to.y), std::min(rect.x + rect.width, to.x + to.width),
            std::min(rect.y + rect.height, to.y + to.height)};
}

std::vector<Sides> opaqueParts(const Rect& frame, std::span<const CoveringWindow> above) {
    std::vector<Sides> parts;
    for (const auto& window : above) {
        if (window.alpha < kOpaqueAlpha) continue;
        const auto part = clipped(window.rect, frame);
        if (part.left < part.right && part.top < part.bottom) parts.push_back(part);
    }
    return parts;
}

/// How much of a vertical line that crosses every one of `parts` between `left` and `right` they cover. The parts are
/// ordered by their tops.
double coveredHeight(std::span<const Sides> parts, double left, double right) {
    double covered = 0;
    double reached = -std::numeric_limits<double>::infinity();
    for (const auto& part : parts) {
        if (part.left > left || part.right < right || part.bottom <= reached) continue;
        covered += part.bottom - std::max(part.top, reached);
        reached = part.bottom;
    }
    return covered;
}

/// The area of the union: between two neighbouring left or right sides, every vertical line is covered alike.
double coveredArea(std::vector<Sides> parts) {
    std::ranges::sort(parts, {}, &Sides::top);
    std::vector<double> edges;
    for (const auto& part : parts)
        edges.insert(edges.end(), {part.left, part.right});
    std::ranges::sort(edges);
    double area = 0;
    for (std::size_t i = 1; i < edges.size(); ++i) {
        const double width = edges[i] - edges[i - 1];
        if (width > 0) area += width * coveredHeight(parts, edges[i - 1], edges[i]);
    }
    return area;
}

const char* flag(bool value) {
    return value ? "1" : "0";
}

} // namespace

double uncoveredShare(const Rect& frame, std::span<const CoveringWindow> above) {
    const double area = frame.width * frame.height;
    if (!(area > 0)) return 0;
    return std::clamp(1 - coveredArea(opaqueParts(frame, above)) / area, 0.0, 1.0);
}

WindowVisibilityMonitor::WindowVisibilityMonitor(std::weak_ptr<AnimatedWindow> window,
                                                 const FrameClockServices& services)
    : window_(std::move(window)), services_(services) {
    if (const auto live = window_.lock()) {
        using enum WindowNotification;
        const auto observed = [&](WindowNotification change) {
            return live->observe(change, [this] { evaluate(); });
        };
        observations_ = {observed(occlusionStateChanged), observed(becameKey), observed(resignedKey)};
    }
    evaluate();
}

void WindowVisibilityMonitor::evaluate() {
    const auto window = window_.lock();
    const bool visible = window && canBeSeen(*window);
    updatePolling(window.get());
    if (visible == visible_) return;
    visible_ = visible;
    report(window.get());
    onChange_();
}

bool WindowVisibilityMonitor::canBeSeen(const AnimatedWindow& window) const {
    if (window.isMiniaturized() || !window.isOnScreen()) return false;
    if (window.isKey()) return true;
    if (!window.isOcclusionVisible()) return false;
    const double share = uncoveredShare(window.frame(), window.windowsAbove());
    const bool seen = share >= kLeastVisibleShare;
    if (const Log log(services_.logSink, "FrameClock"); seen != visible_ && log.isEnabled(LogLevel::debug))
        log.debug(std::to_string(static_cast<int>(share * 100)) + " % of the window is not covered");
    return seen;
}

/// A window that comes to cover a part of this one is not announced. Neither is one that leaves.
void WindowVisibilityMonitor::updatePolling(const AnimatedWindow* window) {
    const bool polls = window && window->isOnScreen() && !window->isMiniaturized() && !window->isKey() &&
                       window->isOcclusionVisible();
    if (!polls)
        pollTimer_.reset();
    else if (!pollTimer_)
        pollTimer_ = services_.timers.make(kPollInterval, [this] { evaluate(); });
}

void WindowVisibilityMonitor::report(const AnimatedWindow* window) const {
    if (!services_.timingLog.isEnabled()) return;
    services_.timingLog.event("visibility", std::string("visible=") + flag(visible_) +
                                                " key=" + flag(window && window->isKey()) +
                                                " occlusion=" + flag(window && window->isOcclusionVisible()));
}

} // namespace rewindle
