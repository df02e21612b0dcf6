#include "waveform/WaveformTimelineModel.h"

#include <algorithm>
#include <cmath>

namespace rewindle {
namespace {

// The easing is tuned in steps of 1/30 s; powers of it make it independent of the rate of the ticks.
constexpr double kEasingStepsPerSecond = 30;
constexpr double kHeadKept = 0.65; // of the distance, per step
constexpr double kStartKept = 0.7;

constexpr double kLongestStep = 0.1; // seconds
constexpr double kLeastVisibleFrames = 45'000;
constexpr double kMostZoomOfUnknownCapacity = 32;
constexpr double kLiveEdgeShare = 0.005; // of the visible frames

double easedHead(double rendered, double head, double keep, double visibleFrames, bool frozen) {
    if (frozen) return std::min(rendered, head);
    const double distance = head - rendered;
    if (distance < 1 || distance > visibleFrames) return head;
    return rendered + (1 - keep) * distance;
}

double easedHold(double viewStart, double renderedOldest, double oldest, double keep) {
    const bool viewIsNearer = std::abs(viewStart - oldest) < std::abs(renderedOldest - oldest);
    const double base = viewIsNearer ? viewStart : renderedOldest;
    return std::abs(oldest - base) < 1 ? oldest : base + (1 - keep) * (oldest - base);
}

double easedStart(double start, double target, double keep) {
    return std::abs(target - start) < 0.5 ? target : start + (1 - keep) * (target - start);
}

double liveMaxStart(double head, double visibleFrames) {
    return std::max(0.0, head - visibleFrames * (1 - WaveformTimelineModel::lookAheadFraction));
}

} // namespace

double clampedZoom(double multiplier, std::int64_t capacity) {
    const double most =
        capacity < 1 ? kMostZoomOfUnknownCapacity : static_cast<double>(capacity) / kLeastVisibleFrames;
    return std::min(most, std::max(multiplier, 1 - WaveformTimelineModel::lookAheadFraction));
}

double timelineStep(double now, double lastTick) {
    if (lastTick <= 0) return 1 / kEasingStepsPerSecond;
    return std::clamp(now - lastTick, 0.0, kLongestStep);
}

double WaveformTimelineModel::visibleFrames(std::int64_t capacity) const {
    return static_cast<double>(capacity) / xAxisMultiplier;
}

double WaveformTimelineModel::liveEdgeThreshold(std::int64_t capacity) const {
    return std::max(visibleFrames(capacity) * kLiveEdgeShare, 1.0);
}

double WaveformTimelineModel::clampedStart(double start, std::int64_t capacity) const {
    const double oldest = cachedOldestStart;
    const bool held = holdingOldestRetentionEdge && renderedHeadFrame >= static_cast<double>(capacity);
    // A paused view may rest left of the oldest frame and show the space that has become free there.
    const double lower = liveFollowManuallyPaused && !held ? std::min(cachedLiveMaxStart, oldest) : oldest;
    return std::min(std::max(cachedLiveMaxStart, oldest), std::max(start, lower));
}

void WaveformTimelineModel::advanceTimeline(double dt, std::int64_t head, std::int64_t oldest, std::int64_t capacity,
                                            bool frozen) {
    const double steps = std::max(dt, 0.0) * kEasingStepsPerSecond;
    const double headKeep = std::pow(kHeadKept, steps);
    const double startKeep = std::pow(kStartKept, steps);
    const double visible = visibleFrames(capacity);
    renderedHeadFrame = easedHead(renderedHeadFrame, static_cast<double>(head), headKeep, visible, frozen);
    cachedLiveMaxStart = liveMaxStart(renderedHeadFrame, visible);
    cachedOldestStart = static_cast<double>(oldest);
    if (followLive) {
        viewStartFrameTarget = viewStartFrame = cachedLiveMaxStart;
        return;
    }
    updateOldestEdgeHold(capacity, cachedOldestStart);
    viewStartFrameTarget = clampedStart(viewStartFrameTarget, capacity);
    if (holdingOldestRetentionEdge) {
        viewStartFrameTarget = cachedOldestStart;
        viewStartFrame = easedHold(viewStartFrame, renderedOldestStart, cachedOldestStart, headKeep);
        renderedOldestStart = viewStartFrame;
    } else {
        renderedOldestStart = viewStartFrame;
        viewStartFrame = easedStart(viewStartFrame, viewStartFrameTarget, startKeep);
    }
}

void WaveformTimelineModel::resetTimelineToBuffer(std::int64_t head, std::int64_t oldest, std::int64_t capacity) {
    renderedHeadFrame = static_cast<double>(head);
    cachedLiveMaxStart = liveMaxStart(renderedHeadFrame, visibleFrames(capacity));
    cachedOldestStart = static_cast<double>(oldest);
    if (followLive) {
        viewStartFrame = viewStartFrameTarget = cachedLiveMaxStart;
        return;
    }
    const double start =
        std::min(std::max(cachedLiveMaxStart, cachedOldestStart), std::max(viewStartFrameTarget, cachedOldestStart));
    viewStartFrame = viewStartFrameTarget = renderedOldestStart = start;
}

void WaveformTimelineModel::updateOldestEdgeHold(std::int64_t capacity, double oldest) {
    const bool filledOnce = renderedHeadFrame >= static_cast<double>(capacity);
    holdingOldestRetentionEdge = filledOnce && viewStartFrameTarget <= oldest + liveEdgeThreshold(capacity);
}

bool WaveformTimelineModel::rearmLiveFollowIfAtEdge(bool hasMarks, std::int64_t capacity) {
    if (viewStartFrameTarget < cachedLiveMaxStart - liveEdgeThreshold(capacity)) {
        followDisarmedBelowLiveEdge = true;
        if (!liveFollowManuallyPaused) followLive = false;
        return false;
    }
    if (liveFollowManuallyPaused) return false;
    // A mark made at the live edge would be swept away at once: the view has to leave the edge and come back.
    if (hasMarks && !followDisarmedBelowLiveEdge) return false;
    jumpToLiveEdge();
    return true;
}

bool WaveformTimelineModel::setZoom(double multiplier, double anchorX, bool centered, double width,
                                    std::int64_t capacity) {
    const double zoom = clampedZoom(multiplier, capacity);
    if (zoom == xAxisMultiplier) return false;
    const double oldVisible = visibleFrames(capacity);
    xAxisMultiplier = zoom;
    if (followLive || capacity < 1) return true; // the next tick keeps the live edge in its place
    // The live edge has another place at the new zoom. Clamped by the old one, a view near the edge would lose its
    // anchor when zooming in, and be handed back to live follow by it.
    cachedLiveMaxStart = liveMaxStart(renderedHeadFrame, visibleFrames(capacity));
    const double fraction = centered ? 0.5 : anchorX / std::max(width, 1.0);
    const double anchor = viewStartFrame + oldVisible * fraction;
    moveStartTo(anchor - visibleFrames(capacity) * fraction, capacity);
    updateOldestEdgeHold(capacity, cachedOldestStart);
    return true;
}

void WaveformTimelineModel::rescaleZoomForCapacity(std::int64_t oldCapacity, std::int64_t newCapacity) {
    if (oldCapacity >= 1 && newCapacity >= 1) {
        xAxisMultiplier = clampedZoom(static_cast<double>(newCapacity) / visibleFrames(oldCapacity), newCapacity);
    }
    followLive = true;
    // A pause that outlived this could not be left by panning: it keeps the view from ceasing to follow, too.
    liveFollowManuallyPaused = false;
}

void WaveformTimelineModel::jumpToLiveEdge() {
    followDisarmedBelowLiveEdge = false;
    holdingOldestRetentionEdge = false;
    followLive = true;
    viewStartFrame = viewStartFrameTarget = cachedLiveMaxStart;
}

void WaveformTimelineModel::jumpToOldest(std::int64_t oldest) {
    followLive = false;
    followDisarmedBelowLiveEdge = true;
    holdingOldestRetentionEdge = true;
    cachedOldestStart = static_cast<double>(oldest);
    viewStartFrame = viewStartFrameTarget = renderedOldestStart = cachedOldestStart;
}

void WaveformTimelineModel::pan(double frames, std::int64_t capacity) {
    viewStartFrameTarget = clampedStart(viewStartFrameTarget + frames, capacity);
    updateOldestEdgeHold(capacity, cachedOldestStart);
}

void WaveformTimelineModel::moveStartTo(double start, std::int64_t capacity) {
    viewStartFrame = viewStartFrameTarget = clampedStart(start, capacity);
}

} // namespace rewindle
