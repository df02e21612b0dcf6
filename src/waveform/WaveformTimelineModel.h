#pragma once

#include <cstdint>

namespace rewindle {

/// The time axis of the waveform: which stretch of the retained audio is seen, and how it moves.
///
/// Shape:   a plain value; what it is about (head, oldest frame, capacity) is passed to every step.
/// Units:   positions are frame numbers of the ring buffer, with fractions; times are seconds.
/// Threads: interface thread.
struct WaveformTimelineModel {
    /// The share of the width that stays empty to the right of the live edge.
    static constexpr double lookAheadFraction = 0.08;

    double viewStartFrame = 0;               // at the left edge, as drawn
    double viewStartFrameTarget = 0;         // where that is heading
    double renderedHeadFrame = 0;            // the eased right end of the audio
    double renderedOldestStart = 0;          // the eased view start while held at the oldest edge
    bool holdingOldestRetentionEdge = false; // parked at the oldest frame and travelling with it
    bool followLive = true;
    bool liveFollowManuallyPaused = false;    // nothing but resuming makes the view follow again
    bool followDisarmedBelowLiveEdge = false; // the target has been below the live edge since it last followed
    double xAxisMultiplier = 1;               // zoom: capacity / visible frames
    double cachedLiveMaxStart = 0;            // the view start that puts the live edge at its place
    double cachedOldestStart = 0;             // the oldest retained frame, as last read

    /// Frames across the whole width.
    [[nodiscard]] double visibleFrames(std::int64_t capacity) const;
    /// How near to an edge counts as being there.
    [[nodiscard]] double liveEdgeThreshold(std::int64_t capacity) const;
    /// `start` within the range that a view which does not follow may show.
    [[nodiscard]] double clampedStart(double start, std::int64_t capacity) const;

    /// One tick of the clock, `dt` after the one before.
    void advanceTimeline(double dt, std::int64_t head, std::int64_t oldest, std::int64_t capacity, bool frozen);
    /// Takes over a buffer's state at once, without easing.
    void resetTimelineToBuffer(std::int64_t head, std::int64_t oldest, std::int64_t capacity);
    void updateOldestEdgeHold(std::int64_t capacity, double oldest);
    /// Follows again when the target has come to the live edge, and ceases to when it is below. `hasMarks`: a playhead
    /// or a selection keeps a view that never left the edge from following. True when the view follows by this.
    bool rearmLiveFollowIfAtEdge(bool hasMarks, std::int64_t capacity);
    /// Zooms about the centre, or about `anchorX` of `width` points, within the limits. False when nothing changed.
    /// Whoever calls it runs `rearmLiveFollowIfAtEdge` afterwards, unless the view follows.
    bool setZoom(double multiplier, double anchorX, bool centered, double width, std::int64_t capacity);
    /// Keeps the number of visible frames, within the limits, and follows. The reset to the new buffer comes next.
    void rescaleZoomForCapacity(std::int64_t oldCapacity, std::int64_t newCapacity);

    void jumpToLiveEdge();
    /// Parks at the oldest frame.
    void jumpToOldest(std::int64_t oldest);
    /// Lets the target move by `frames` and the view ease after it.
    void pan(double frames, std::int64_t capacity);
    /// Moves view and target at once.
    void moveStartTo(double start, std::int64_t capacity);
};

/// The zoom nearest to the one asked for. A capacity below 1 is one that is not known.
[[nodiscard]] double clampedZoom(double multiplier, std::int64_t capacity);

/// The time that a tick stands for. `lastTick` is 0 before the first one; a stall counts for little.
[[nodiscard]] double timelineStep(double now, double lastTick);

} // namespace rewindle
