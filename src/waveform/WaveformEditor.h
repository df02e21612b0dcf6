#pragma once

#include "base/Clock.h"
#include "render/clock/WindowAnimationDriver.h"
#include "waveform/AuditionControl.h"
#include "waveform/AuditionCursor.h"
#include "waveform/CaptureFreeze.h"
#include "waveform/WaveformMarks.h"
#include "waveform/WaveformOverlays.h"
#include "waveform/WaveformTimelineModel.h"

#include <functional>
#include <memory>
#include <optional>

namespace rewindle {

/// What is seen and marked of the retained audio, and every way in which that changes: by the clock, by another
/// buffer, by the user.
///
/// Threads:   interface thread.
/// Lifecycle: the services outlive it. Without a buffer nothing is seen, and nothing can be marked.
class WaveformEditor {
public:
    struct Services {
        const Clock& clock;
        CaptureFreeze& freeze;
        AuditionControl& audition;
    };
    explicit WaveformEditor(const Services& services) : services_(services) {}

    std::function<void(bool)> onFollowLiveChanged; // may be empty
    std::function<void()> onChanged;               // the picture is out of date; may be empty

    [[nodiscard]] const std::shared_ptr<AudioRingBuffer>& ringBuffer() const { return ringBuffer_; }
    [[nodiscard]] const WaveformTimelineModel& timeline() const { return timeline_; }
    [[nodiscard]] const WaveformMarks& marks() const { return marks_; }
    [[nodiscard]] const AuditionCursor& auditionCursor() const { return auditionCursor_; }
    [[nodiscard]] bool auditionPlaying() const { return services_.audition.isPlaying(); }
    [[nodiscard]] bool isFrozen() const { return services_.freeze.isFrozen(); }
    [[nodiscard]] std::int64_t capacity() const { return ringBuffer_ ? ringBuffer_->capacityFrames : 0; }
    [[nodiscard]] Size size() const { return size_; } // of the view, points
    [[nodiscard]] FrameAxis axis() const;
    /// The frame at `x`, as far as there is audio there.
    [[nodiscard]] double frameAt(double x) const;
    [[nodiscard]] std::optional<Rect> selectionRectOnScreen() const { return selectionRect(marks_, axis()); }

    void setSize(Size size) { size_ = size; }
    void setDriver(std::weak_ptr<WindowAnimationDriver> driver) { driver_ = std::move(driver); }
    /// The window's frame clock; null without one.
    [[nodiscard]] std::shared_ptr<WindowAnimationDriver> driver() const { return driver_.lock(); }
    /// Has the frame clock run fast for a moment.
    void noteInteraction();

    // The clock and the buffer

    void advance(double now);
    /// True when it is another one.
    bool setRingBuffer(std::shared_ptr<AudioRingBuffer> ringBuffer);
    /// The view can be seen again.
    void reappear();

    // Following and navigation

    void pauseLiveFollow();
    void resumeLiveFollow();
    void jumpToOldest();
    /// Ceases to follow, so that the place where a mark is made stays where it is.
    void stopFollowing();
    /// Follows again when the view is at the live edge, and ceases to when it is not. An audition and the playhead end
    /// when it follows again.
    void updateLiveFollowArming();
    void setZoom(double multiplier, double anchorX, bool centered);
    /// Eases the view to `frames` further right.
    void pan(double frames);
    /// Moves the view at once.
    void drag(double frames);

    // Marks

    /// Clears both marks; the new selection is empty at `frame`.
    void beginSelection(double frame);
    void select(double anchor, double current);
    void moveSelectionEnd(double frame);
    void clearSelection();
    void dropPlayhead(double frame);
    /// The playhead; the selection when there is no playhead.
    void clearPlayheadOrSelection();
    void selectAll();
    /// By 4 points; `extends` moves only the end on that side.
    void nudgeSelection(bool toTheRight, bool extends);

    // Audition

    void stopAudition();
    /// Stops what plays; else plays the selection or from the playhead. False when that is too short.
    [[nodiscard]] bool toggleAudition();
    void toggleFreeze() { services_.freeze.setFrozen(!services_.freeze.isFrozen()); }

private:
    template <class Change>
    void reportingFollow(Change change);
    void changed() const;
    void resetTimeline();
    void advanceAuditionCursor();
    [[nodiscard]] double withHeldBack(double frames, double start);
    void placeChangedByUser();
    [[nodiscard]] std::optional<ClipRange> auditionRange() const;

    const Services services_;
    std::shared_ptr<AudioRingBuffer> ringBuffer_;
    std::weak_ptr<WindowAnimationDriver> driver_;
    Size size_;
    double lastTickUptime_ = 0; // 0: none
    WaveformTimelineModel timeline_;
    WaveformMarks marks_;
    AuditionCursor auditionCursor_;
    double heldBackFrames_ = 0; // of a movement away from an edge, too short so far to leave it
    double lastMoveUptime_ = 0;
};

} // namespace rewindle
