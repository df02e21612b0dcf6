#include "ui/waveform/WaveformKeyMonitor.h"

#include "ui/waveform/WaveformViewRepresentable.h"

#include <QAbstractButton>
#include <QApplication>

namespace rewindle {
namespace {

bool takesText(const QWidget& widget) {
    return widget.testAttribute(Qt::WA_InputMethodEnabled);
}

/// Buttons have the keyboard only after Tab, and then the space is theirs.
bool isPressOfButton(const QWidget& widget, const QKeyEvent& event) {
    return event.key() == Qt::Key_Space && qobject_cast<const QAbstractButton*>(&widget);
}

} // namespace

WaveformKeyMonitor::WaveformKeyMonitor(QWidget& window) : QObject(&window), window_(window) {
    QCoreApplication::instance()->installEventFilter(this);
}

bool WaveformKeyMonitor::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::KeyPress && event->type() != QEvent::KeyRelease) return false;
    const auto& key = static_cast<const QKeyEvent&>(*event);
    if (event->type() == QEvent::KeyRelease) {
        released_ = {key.key(), key.timestamp()};
        return false;
    }
    return isForWaveform(watched, key) && waveform_->offerKey(key, isRepeat(key));
}

/// On X11 a key that is held goes up and down again in the same instant. Qt takes that for a repetition only when both
/// events are in its queue.
bool WaveformKeyMonitor::isRepeat(const QKeyEvent& press) const {
    return press.isAutoRepeat() || (press.timestamp() != 0 && released_ == std::pair(press.key(), press.timestamp()));
}

bool WaveformKeyMonitor::isForWaveform(const QObject* watched, const QKeyEvent& event) const {
    if (!waveform_ || !waveform_->isVisible()) return false;
    if (!window_.isActiveWindow() || QApplication::activeModalWidget() || QApplication::activePopupWidget())
        return false;
    // Only the event to the widget with the keyboard counts: Qt sends what that does not take to its parents, too.
    const QWidget* const focused = window_.focusWidget() ? window_.focusWidget() : &window_;
    return watched == focused && !takesText(*focused) && !isPressOfButton(*focused, event);
}

} // namespace rewindle
