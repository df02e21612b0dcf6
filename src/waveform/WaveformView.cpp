#include "waveform/WaveformView.h"

#include "render/clock/ClockConfiguration.h"

#include <cmath>
#include <string>

namespace rewindle {

WaveformView::WaveformView(const Services& services)
    : services_(services), editor_({services.clock, services.freeze, services.audition}),
      gestures_(editor_, services.dragSource), self_(std::make_shared<WaveformView*>(this)) {
    editor_.onChanged = [this] { markDirty(); };
    editor_.onFollowLiveChanged = [this](bool follows) {
        if (onFollowLiveChanged) onFollowLiveChanged(follows);
    };
}

WaveformView::~WaveformView() {
    if (const auto driver = editor_.driver()) driver->removeClient(this);
}

void WaveformView::setDriver(const std::shared_ptr<WindowAnimationDriver>& driver) {
    editor_.setDriver(driver);
}

void WaveformView::setRingBuffer(std::shared_ptr<AudioRingBuffer> ringBuffer) {
    if (!editor_.setRingBuffer(std::move(ringBuffer))) return;
    drawn_.viewStart = WaveformDrawnState::kNone;
    refreshCursor();
}

void WaveformView::setTheme(const WaveformTheme& theme) {
    if (theme == theme_) return;
    theme_ = theme;
    markDirty();
}

void WaveformView::setBoundsSize(Size size) {
    if (size == editor_.size()) return;
    editor_.setSize(size);
    markDirty();
}

void WaveformView::setRenderer(WaveformRenderer* renderer) {
    waveformRenderer_ = renderer;
    drawn_.viewStart = WaveformDrawnState::kNone;
    metalDirty_ = false;
    markDirty();
}

void WaveformView::markDirty() {
    if (waveformRenderer_) metalDirty_ = true;
    services_.host.setNeedsDisplay();
}

// The frame clock

void WaveformView::displayLinkTick() {
    visibilityChanged(true);
    tick(services_.clock.uptimeSeconds());
}

void WaveformView::timerTick(bool visible) {
    visibilityChanged(visible);
    if (visible) tick(services_.clock.uptimeSeconds());
}

AnimationClockMode WaveformView::preferredClockMode() const {
    const auto driver = editor_.driver();
    return waveformClockMode(services_.forcedClockMode,
                             driver ? std::optional(driver->lastInteractionUptime()) : std::nullopt,
                             services_.clock.uptimeSeconds());
}

void WaveformView::visibilityChanged(bool visible) {
    if (!visible) {
        wasHidden_ = true;
        return;
    }
    if (!wasHidden_) return;
    wasHidden_ = false;
    editor_.reappear();
    drawn_.viewStart = WaveformDrawnState::kNone;
    markDirty();
}

void WaveformView::tick(double now) {
    if (!editor_.ringBuffer()) return;
    editor_.advance(now);
    const WaveformDrawnState state = currentState();
    const bool redraws = metalDirty_ || needsRedraw(drawn_, state);
    const bool movesUnderPointer = editor_.marks().hasSelection() && axisMoved(drawn_, state);
    logTick(redraws);
    if (redraws && waveformRenderer_) renderFrame();
    if (redraws && !waveformRenderer_) services_.host.setNeedsDisplay();
    if (movesUnderPointer) refreshCursor();
}

void WaveformView::logTick(bool redraws) const {
    if (!services_.timingLog.isEnabled()) return;
    const auto driver = editor_.driver();
    const auto rate = driver ? driver->framesPerSecond() : std::nullopt;
    const std::string fps = rate ? std::to_string(std::lround(*rate)) : "nil";
    services_.timingLog.event("waveform_tick", "fps=" + fps + " redraw=" + (redraws ? "1" : "0"));
}

WaveformDrawnState WaveformView::currentState() const {
    const auto& timeline = editor_.timeline();
    const auto& cursor = editor_.auditionCursor();
    WaveformDrawnState state;
    state.viewStart = timeline.viewStartFrame;
    state.head = timeline.renderedHeadFrame;
    state.multiplier = timeline.xAxisMultiplier;
    state.size = editor_.size();
    state.frozen = editor_.isFrozen();
    state.playbackCursor = cursor.playbackCursorFrame.value_or(WaveformDrawnState::kNone);
    state.insertMarker = editor_.marks().insertMarkerFrame.value_or(WaveformDrawnState::kNone);
    state.cursorBlinkVisible = cursor.cursorBlinkVisible;
    state.followLive = timeline.followLive;
    state.auditionPlaying = cursor.playbackCursorFrame.has_value(); // as of this tick; asking takes a lock
    return state;
}

// Drawing

/// Reads the columns and fills the frame, but for the list of its overlays. False when there is nothing to draw on.
bool WaveformView::preparePicture() {
    const auto& ringBuffer = editor_.ringBuffer();
    const FrameAxis axis = editor_.axis();
    if (!ringBuffer || axis.size.width <= 0 || axis.size.height <= 0) return false;
    const auto& timeline = editor_.timeline();
    const WaveformColumns columns = waveformColumns(axis.size, axis.viewStartFrame, axis.visibleFrames);
    const WaveformInfo held =
        ringBuffer->readSummaryColumns(columns.columnCount, waveformMins_, waveformMaxs_, columns.firstColumnFrame,
                                       columns.framesPerColumn, timeline.renderedHeadFrame);
    limitToDrawable(std::span(waveformMins_).first(static_cast<std::size_t>(columns.columnCount)));
    limitToDrawable(std::span(waveformMaxs_).first(static_cast<std::size_t>(columns.columnCount)));
    fillFrame(columns);
    const auto head = held.totalFramesWritten >= 1 ? std::optional(timeline.renderedHeadFrame) : std::nullopt;
    overlays_ = waveformOverlays(axis, head, editor_.marks(), editor_.auditionCursor());
    return true;
}

void WaveformView::fillFrame(const WaveformColumns& columns) {
    const auto count = static_cast<std::size_t>(columns.columnCount);
    const Rect box = envelopeBounds(columns, std::span(waveformMins_).first(count),
                                    std::span(waveformMaxs_).first(count), editor_.size());
    frame_.viewport = editor_.size();
    frame_.columnCount = columns.columnCount;
    frame_.columnStride = kColumnStride;
    frame_.fractionPoints = columns.fraction;
    frame_.midY = columns.midY;
    frame_.amplitudeScale = columns.amplitudeScale;
    frame_.useGradient = true;
    // From the bottom upwards, so that each colour of the theme is where its name says.
    frame_.gradStart = {box.x + box.width / 2, box.y + box.height};
    frame_.gradEnd = {box.x + box.width / 2, box.y};
    frame_.gradColor0 = theme_.waveformBottom;
    frame_.gradColor1 = theme_.waveformTop;
    frame_.flatColor = theme_.waveformTop;
}

void WaveformView::renderFrame() {
    metalDirty_ = false;
    if (!preparePicture()) return;
    overlayQuads(overlays_, theme_, editor_.isFrozen(), frame_.overlays);
    const auto count = static_cast<std::size_t>(frame_.columnCount);
    waveformRenderer_->render(frame_, std::span(waveformMins_).first(count), std::span(waveformMaxs_).first(count));
    drawn_ = currentState();
}

void WaveformView::draw(GraphicsContext& context) {
    if (waveformRenderer_ || !preparePicture()) return;
    paint(context);
    drawn_ = currentState();
}

void WaveformView::drawSnapshot(GraphicsContext& context) {
    if (preparePicture()) paint(context); // `drawn_` stays: this is not the picture on the screen
}

void WaveformView::paint(GraphicsContext& context) {
    const auto count = static_cast<std::size_t>(frame_.columnCount);
    painter_.paint(context, frame_, std::span(waveformMins_).first(count), std::span(waveformMaxs_).first(count),
                   overlays_, theme_, editor_.isFrozen());
}

} // namespace rewindle
