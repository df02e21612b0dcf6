#include "waveform/WaveformView.h"

#include <algorithm>
#include <string_view>

namespace rewindle {
namespace {

constexpr double kKeyboardPanFraction = 0.08; // of the visible frames
constexpr double kLeastKeyboardPanFrames = 480;
constexpr double kKeyboardZoomFactor = 1.25;

char32_t lowerCased(char32_t letter) {
    return letter >= U'A' && letter <= U'Z' ? letter - U'A' + U'a' : letter;
}

std::optional<WaveformExportError> failureIn(const auto& outcome) {
    return outcome ? std::nullopt : std::optional(outcome.error());
}

} // namespace

bool WaveformView::keyDown(const KeyEvent& event) {
    if (event.modifiers.command) return false;
    editor_.noteInteraction();
    switch (event.code) {
    case KeyCode::space:
        if (!event.isRepeat) handleSpace();
        return true; // a repetition, too: elsewhere it might press a button again and again
    case KeyCode::escape: clearWaveformSelection(); return true;
    case KeyCode::home: editor_.jumpToOldest(); return true;
    case KeyCode::end: editor_.resumeLiveFollow(); return true;
    case KeyCode::leftArrow: handleArrow(false, event.modifiers.shift); return true;
    case KeyCode::rightArrow: handleArrow(true, event.modifiers.shift); return true;
    case KeyCode::other: break;
    }
    return false;
}

void WaveformView::handleSpace() {
    // An audition outlives the marks that it came from; it has to be stopped before anything else.
    if (!editor_.marks().hasMarks() && !editor_.auditionPlaying()) return toggleFreeze();
    if (!editor_.toggleAudition()) services_.host.beep();
}

void WaveformView::handleArrow(bool toTheRight, bool extends) {
    if (editor_.marks().hasSelectionEnds()) {
        gestures_.cancel(); // a drag that went on would undo this
        return editor_.nudgeSelection(toTheRight, extends);
    }
    const double frames = std::max(editor_.axis().visibleFrames * kKeyboardPanFraction, kLeastKeyboardPanFrames);
    editor_.pan(toTheRight ? frames : -frames);
}

bool WaveformView::performKeyEquivalent(const KeyEvent& event) {
    if (!isKeyEquivalent(event)) return false;
    editor_.noteInteraction();
    if (event.code == KeyCode::rightArrow) return editor_.resumeLiveFollow(), true;
    if (event.code == KeyCode::leftArrow) return editor_.jumpToOldest(), true;
    switch (lowerCased(event.character)) {
    case U'c': copy(); return true;
    case U'a': selectAll(); return true;
    case U's':
        if (!event.isRepeat) saveAllCapturedAudioAs(); // one clip for one press
        return true;
    case U'0': resetZoom(); return true;
    case U'=':
    case U'+': zoomIn(); return true;
    case U'-': zoomOut(); return true;
    default: return false;
    }
}

bool WaveformView::isKeyEquivalent(const KeyEvent& event) {
    constexpr std::u32string_view kCharacters = U"cas0=+-";
    if (!event.modifiers.command || event.modifiers.control) return false;
    if (event.code == KeyCode::leftArrow || event.code == KeyCode::rightArrow) return true;
    return kCharacters.find(lowerCased(event.character)) != std::u32string_view::npos;
}

void WaveformView::copy() {
    const auto range = editor_.marks().selectedRange();
    if (!range || !editor_.ringBuffer()) return;
    services_.pasteboard.copyClip(*range, [weak = std::weak_ptr(self_)](const auto& outcome) {
        if (const auto self = weak.lock()) (*self)->exportEnded(failureIn(outcome));
    });
}

void WaveformView::selectAll() {
    gestures_.cancel();
    editor_.selectAll();
}

void WaveformView::saveAllCapturedAudioAs() {
    if (!editor_.ringBuffer()) return;
    ++savesUnderWay_;
    if (onSaveStarted) onSaveStarted();
    services_.saver.saveClip(
        editor_.marks().selectedRange(),
        [weak = std::weak_ptr(self_)](const auto& outcome) {
            if (const auto self = weak.lock()) (*self)->saveEnded(outcome);
        },
        [weak = std::weak_ptr(self_)](double fraction) {
            const auto self = weak.lock();
            if (self && (*self)->onExportProgress) (*self)->onExportProgress(fraction);
        });
}

void WaveformView::saveEnded(const ClipSaver::Outcome& outcome) {
    --savesUnderWay_;
    if (onSaveEnded) onSaveEnded(outcome);
    exportEnded(failureIn(outcome));
}

void WaveformView::exportEnded(const std::optional<WaveformExportError>& failure) const {
    if (onExportFailure) onExportFailure(failure);
}

void WaveformView::clearWaveformSelection() {
    gestures_.cancel();
    editor_.clearPlayheadOrSelection();
}

void WaveformView::toggleFreeze() {
    editor_.toggleFreeze();
    markDirty();
}

void WaveformView::zoomIn() {
    editor_.setZoom(editor_.timeline().xAxisMultiplier * kKeyboardZoomFactor, 0, true);
}

void WaveformView::zoomOut() {
    editor_.setZoom(editor_.timeline().xAxisMultiplier / kKeyboardZoomFactor, 0, true);
}

void WaveformView::resetZoom() {
    editor_.setZoom(1, 0, true);
}

} // namespace rewindle
