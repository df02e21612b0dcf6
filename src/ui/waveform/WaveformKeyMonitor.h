#pragma once

#include <QKeyEvent>
#include <QWidget>

#include <optional>
#include <utility>

namespace rewindle {

class WaveformViewRepresentable;

/// Gives the waveform the keys that are pressed in its window, whichever widget there has the keyboard, so that nobody
/// has to click it first; presses with Ctrl as key equivalents. Left out are those that a text field wants, the space
/// that presses a button, and all while a dialog waits for an answer.
///
/// Lifecycle: a child of the window.
class WaveformKeyMonitor final : public QObject {
public:
    explicit WaveformKeyMonitor(QWidget& window);
    /// Null: there is none to be given keys.
    void setWaveform(WaveformViewRepresentable* waveform) { waveform_ = waveform; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool isForWaveform(const QObject* watched, const QKeyEvent& event) const;
    [[nodiscard]] bool isRepeat(const QKeyEvent& press) const;

    QWidget& window_;
    WaveformViewRepresentable* waveform_ = nullptr;
    std::optional<std::pair<int, quint64>> released_; // the key that went up last, and when
};

} // namespace rewindle
