#pragma once

#include "platform/GraphicsContext.h"
#include "platform/InputEvents.h"
#include "render/clock/DisplayClockClient.h"
#include "render/clock/FrameTimingLog.h"
#include "settings/WaveformTheme.h"
#include "waveform/ClipOutlets.h"
#include "waveform/WaveformColumns.h"
#include "waveform/WaveformEditor.h"
#include "waveform/WaveformGestures.h"
#include "waveform/WaveformPainter.h"
#include "waveform/WaveformRedraw.h"
#include "waveform/WaveformRenderer.h"
#include "waveform/WaveformViewHost.h"

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace rewindle {

/// The live picture of the retained audio: paced by the window's frame clock, drawn by a renderer or in two dimensions,
/// operated by mouse and keys.
///
/// Shape:     its top left corner is the origin, y grows downwards; what it draws is not opaque.
/// Threads:   interface thread.
/// Real time: a tick, and drawing after the first time, allocate nothing.
/// Lifecycle: the services outlive it. The host keeps it in a shared_ptr and adds it to its driver.
class WaveformView final : public DisplayClockClient {
public:
    struct Services {
        WaveformViewHost& host;
        const Clock& clock;
        CaptureFreeze& freeze;
        AuditionControl& audition;
        ClipSaver& saver;
        ClipPasteboard& pasteboard;
        ClipDragSource& dragSource;
        FrameTimingLog& timingLog;
        std::optional<AnimationClockMode> forcedClockMode; // whatever the user does
    };
    explicit WaveformView(const Services& services);
    ~WaveformView() override;
    WaveformView(const WaveformView&) = delete;
    WaveformView& operator=(const WaveformView&) = delete;

    std::function<void(bool)> onFollowLiveChanged;
    /// Why a clip could not be made; none when one was, which ends what was told before.
    std::function<void(const std::optional<WaveformExportError>&)> onExportFailure;
    /// Each save begins and ends; `onExportFailure` comes after its end.
    std::function<void()> onSaveStarted;
    std::function<void(const ClipSaver::Outcome&)> onSaveEnded;
    /// How much of a long clip is written, 0 to 1, until it is done.
    std::function<void(double)> onExportProgress;

    [[nodiscard]] const WaveformEditor& editor() const { return editor_; }
    [[nodiscard]] bool isSaving() const { return savesUnderWay_ > 0; }

    // What it works with

    void setDriver(const std::shared_ptr<WindowAnimationDriver>& driver);
    void setRingBuffer(std::shared_ptr<AudioRingBuffer> ringBuffer);
    void setTheme(const WaveformTheme& theme);
    void setBoundsSize(Size size);
    /// Null: the view draws in two dimensions. Outlives the view, or is taken away before.
    void setRenderer(WaveformRenderer* renderer);
    /// A picture is owed, as after a change of the screen's scale.
    void markDirty();

    // The frame clock

    void displayLinkTick() override;
    void timerTick(bool visible) override;
    [[nodiscard]] AnimationClockMode preferredClockMode() const override;
    /// Told also when no clock runs, as for a window that is hidden.
    void visibilityChanged(bool visible);

    // Drawing in two dimensions

    /// The host's answer to `setNeedsDisplay`. Draws nothing while there is a renderer.
    void draw(GraphicsContext& context);
    /// A picture of the view, whatever draws it on the screen.
    void drawSnapshot(GraphicsContext& context);

    // The mouse

    /// A press that activates the window; its mouseDown comes next.
    void acceptFirstMouse(const MouseEvent& event);
    void mouseDown(const MouseEvent& event);
    void mouseDragged(const MouseEvent& event);
    void mouseUp(const MouseEvent& event);
    void otherMouseDown(const MouseEvent& event); // the middle button
    void otherMouseDragged(const MouseEvent& event);
    void otherMouseUp(const MouseEvent& event);
    void mouseMoved(const MouseEvent& event);
    void flagsChanged(ModifierFlags modifiers);
    void scrollWheel(const ScrollEvent& event);
    void magnifyWithEvent(const MagnifyEvent& event);

    // Keys; false when the key means nothing here

    [[nodiscard]] bool keyDown(const KeyEvent& event);
    [[nodiscard]] bool performKeyEquivalent(const KeyEvent& event);
    /// Whether `performKeyEquivalent` would do something.
    [[nodiscard]] static bool isKeyEquivalent(const KeyEvent& event);

    // Commands

    void copy();
    void selectAll();
    /// The selection, or everything when there is none.
    void saveAllCapturedAudioAs();
    void clearWaveformSelection();
    void toggleFreeze();
    void zoomIn();
    void zoomOut();
    void resetZoom();
    void pauseLiveFollow() { editor_.pauseLiveFollow(); }
    void resumeLiveFollow() { editor_.resumeLiveFollow(); }
    void jumpToOldest() { editor_.jumpToOldest(); }

private:
    void tick(double now);
    void logTick(bool redraws) const;
    [[nodiscard]] WaveformDrawnState currentState() const;
    bool preparePicture();
    void fillFrame(const WaveformColumns& columns);
    void renderFrame();
    void paint(GraphicsContext& context);
    void refreshCursor();
    void refreshCursorAt(Point location);
    void handleSpace();
    void handleArrow(bool toTheRight, bool extends);
    void pan(const ScrollEvent& event);
    void saveEnded(const ClipSaver::Outcome& outcome);
    void exportEnded(const std::optional<WaveformExportError>& failure) const;

    const Services services_;
    WaveformEditor editor_;
    WaveformGestures gestures_;
    WaveformPainter painter_;
    WaveformRenderer* waveformRenderer_ = nullptr;
    bool wasHidden_ = false;
    bool metalDirty_ = false; // a frame is owed to the renderer
    int savesUnderWay_ = 0;
    WaveformTheme theme_;
    WaveformDrawnState drawn_;
    ModifierFlags modifiers_;
    std::optional<CursorShape> shownCursor_;

    // Of one picture; members so that a picture allocates nothing for them.
    std::vector<float> waveformMins_;
    std::vector<float> waveformMaxs_;
    WaveformFrame frame_;
    WaveformOverlays overlays_;

    std::shared_ptr<WaveformView*> self_; // what is put off refers to it weakly
};

} // namespace rewindle
