#include "waveform/WaveformEditor.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace rewindle {
namespace {

constexpr double kKeyboardNudgePoints = 4;
constexpr float kAuditionTrimDB = 0;

} // namespace

template <class Change>
void WaveformEditor::reportingFollow(Change change) {
    const bool before = timeline_.followLive;
    change();
    if (timeline_.followLive != before && onFollowLiveChanged) onFollowLiveChanged(timeline_.followLive);
}

void WaveformEditor::changed() const {
    if (onChanged) onChanged();
}

FrameAxis WaveformEditor::axis() const {
    return {timeline_.viewStartFrame, timeline_.visibleFrames(capacity()), size_};
}

double WaveformEditor::frameAt(double x) const {
    const double oldest = timeline_.cachedOldestStart;
    return std::clamp(axis().frame(x), oldest, std::max(oldest, timeline_.renderedHeadFrame));
}

void WaveformEditor::noteInteraction() {
    if (const auto driver = driver_.lock()) driver->setLastInteractionUptime(services_.clock.uptimeSeconds());
}

// The clock and the buffer

void WaveformEditor::advance(double now) {
    if (!ringBuffer_) return;
    const double dt = timelineStep(now, lastTickUptime_);
    lastTickUptime_ = now;
    const WaveformInfo held = ringBuffer_->info(); // both ends under one lock: a pair that belongs together
    timeline_.advanceTimeline(dt, held.totalFramesWritten, held.oldestFrame, capacity(), isFrozen());
    updateLiveFollowArming();
    advanceAuditionCursor();
}

void WaveformEditor::advanceAuditionCursor() {
    if (!auditionPlaying()) return auditionCursor_.hide();
    auditionCursor_.advance(services_.audition.currentPlaybackFrame());
    const auto cursor = auditionCursor_.playbackCursorFrame;
    if (!cursor || timeline_.followLive || auditionCursor_.suppressAuditionViewportFollow) return;
    const double visible = timeline_.visibleFrames(capacity());
    const double start = *cursor - visible * (1 - WaveformTimelineModel::lookAheadFraction);
    if (timeline_.viewStartFrameTarget < start) timeline_.moveStartTo(start, capacity());
}

bool WaveformEditor::setRingBuffer(std::shared_ptr<AudioRingBuffer> ringBuffer) {
    if (ringBuffer == ringBuffer_) return false;
    const std::int64_t oldCapacity = capacity();
    ringBuffer_ = std::move(ringBuffer);
    reportingFollow([&] { timeline_.rescaleZoomForCapacity(oldCapacity, capacity()); });
    resetTimeline();
    changed();
    return true;
}

void WaveformEditor::reappear() {
    lastTickUptime_ = 0;
    resetTimeline();
}

void WaveformEditor::resetTimeline() {
    if (!ringBuffer_) return;
    const WaveformInfo held = ringBuffer_->info();
    timeline_.resetTimelineToBuffer(held.totalFramesWritten, held.oldestFrame, capacity());
}

// Following and navigation

void WaveformEditor::pauseLiveFollow() {
    reportingFollow([&] {
        timeline_.followLive = false;
        timeline_.liveFollowManuallyPaused = true;
    });
    changed();
}

void WaveformEditor::resumeLiveFollow() {
    noteInteraction();
    timeline_.liveFollowManuallyPaused = false;
    stopAudition();
    marks_.insertMarkerFrame.reset();
    reportingFollow([&] { timeline_.jumpToLiveEdge(); });
    changed();
}

void WaveformEditor::jumpToOldest() {
    noteInteraction();
    if (!ringBuffer_) return;
    reportingFollow([&] { timeline_.jumpToOldest(ringBuffer_->oldestRetainedFrame()); });
    changed();
}

void WaveformEditor::stopFollowing() {
    reportingFollow([&] { timeline_.followLive = false; });
}

void WaveformEditor::updateLiveFollowArming() {
    const bool followed = timeline_.followLive;
    bool rearmed = false;
    reportingFollow([&] { rearmed = timeline_.rearmLiveFollowIfAtEdge(marks_.hasMarks(), capacity()); });
    if (!rearmed) return;
    // A view that follows without marks comes here in every tick. That alone is no reason to draw.
    if (followed && !marks_.insertMarkerFrame && !auditionCursor_.playbackCursorFrame) return;
    stopAudition();
    marks_.insertMarkerFrame.reset();
    changed();
}

void WaveformEditor::setZoom(double multiplier, double anchorX, bool centered) {
    noteInteraction();
    if (!timeline_.setZoom(multiplier, anchorX, centered, size_.width, capacity())) return;
    if (!timeline_.followLive) updateLiveFollowArming();
    changed();
}

void WaveformEditor::pan(double frames) {
    if (!ringBuffer_) return;
    timeline_.pan(withHeldBack(frames, timeline_.viewStartFrameTarget), capacity());
    placeChangedByUser();
}

void WaveformEditor::drag(double frames) {
    if (!ringBuffer_) return;
    const double start = timeline_.viewStartFrame;
    timeline_.moveStartTo(start + withHeldBack(frames, start), capacity());
    timeline_.updateOldestEdgeHold(capacity(), timeline_.cachedOldestStart);
    placeChangedByUser();
}

/// How far from `start` a movement of `frames` gets. The view snaps to the live edge and to the oldest frame. One
/// small step does not pull it away from there, so the steps of one movement are added up.
double WaveformEditor::withHeldBack(double frames, double start) {
    constexpr double kPauseSeconds = 0.3; // that ends a movement
    const double now = services_.clock.uptimeSeconds();
    const bool goesOn = now - std::exchange(lastMoveUptime_, now) <= kPauseSeconds;
    if (!goesOn) heldBackFrames_ = 0;
    heldBackFrames_ += frames;
    if (!goesOn || !(timeline_.followLive || timeline_.holdingOldestRetentionEdge)) return frames;
    const double edge = timeline_.followLive ? timeline_.cachedLiveMaxStart : timeline_.cachedOldestStart;
    return edge + heldBackFrames_ - start;
}

void WaveformEditor::placeChangedByUser() {
    if (auditionPlaying()) auditionCursor_.suppressAuditionViewportFollow = true;
    updateLiveFollowArming();
    if (timeline_.followLive) {
        heldBackFrames_ = std::min(heldBackFrames_, 0.0);
    } else {
        heldBackFrames_ = timeline_.holdingOldestRetentionEdge ? std::max(heldBackFrames_, 0.0) : 0;
    }
    changed();
}

// Marks

void WaveformEditor::beginSelection(double frame) {
    marks_.insertMarkerFrame.reset();
    select(frame, frame);
}

void WaveformEditor::select(double anchor, double current) {
    marks_.select(anchor, current);
    changed();
}

void WaveformEditor::moveSelectionEnd(double frame) {
    marks_.selectionCurrentFrame = frame;
    changed();
}

void WaveformEditor::clearSelection() {
    marks_.clearSelection();
    changed();
}

void WaveformEditor::dropPlayhead(double frame) {
    marks_.clearSelection();
    marks_.insertMarkerFrame = frame;
    stopFollowing();
    changed();
}

void WaveformEditor::clearPlayheadOrSelection() {
    if (marks_.insertMarkerFrame) {
        marks_.insertMarkerFrame.reset();
    } else {
        marks_.clearSelection();
    }
    updateLiveFollowArming();
    changed();
}

void WaveformEditor::selectAll() {
    if (!ringBuffer_) return;
    const WaveformInfo held = ringBuffer_->info();
    if (held.totalFramesWritten - held.oldestFrame < static_cast<std::int64_t>(minSelectionFrames)) return;
    marks_.insertMarkerFrame.reset();
    select(static_cast<double>(held.oldestFrame), static_cast<double>(held.totalFramesWritten));
}

void WaveformEditor::nudgeSelection(bool toTheRight, bool extends) {
    const double framesPerPoint = timeline_.visibleFrames(capacity()) / std::max(size_.width, 1.0);
    const double step = std::max(framesPerPoint * kKeyboardNudgePoints, 1.0);
    const double lower = timeline_.cachedOldestStart;
    const double upper = std::max(timeline_.renderedHeadFrame, lower);
    marks_.nudgeSelection(toTheRight ? step : -step, extends, lower, upper);
    changed();
}

// Audition

void WaveformEditor::stopAudition() {
    if (auditionPlaying()) services_.audition.stop(ringBuffer_);
    auditionCursor_.hide();
}

bool WaveformEditor::toggleAudition() {
    if (auditionPlaying()) {
        stopAudition();
        changed();
        return true;
    }
    const auto range = auditionRange();
    if (!range || static_cast<double>(range->end - range->first) < minSelectionFrames) return false;
    auditionCursor_.suppressAuditionViewportFollow = false;
    services_.audition.play(ringBuffer_, range->first, range->end, kAuditionTrimDB);
    return true;
}

std::optional<ClipRange> WaveformEditor::auditionRange() const {
    if (!ringBuffer_) return std::nullopt;
    if (marks_.hasSelection() || !marks_.insertMarkerFrame) return marks_.selectedRange();
    const double marker = *marks_.insertMarkerFrame;
    const auto head = static_cast<double>(ringBuffer_->totalFramesWritten());
    return ClipRange{std::llround(marker), std::llround(std::max(head, marker))};
}

} // namespace rewindle
