#pragma once

#include "host/windows/TimerFd.h"
#include "platform/AnimatedWindow.h"

#include <QObject>
#include <QPointer>
#include <QWidget>
#include <QWindow>

namespace rewindle {

/// The frames of a widget's display, at the rate of the screen it is on.
///
/// On X11 nobody tells when the screen shows a frame, so the kernel's timer beats at the screen's rate. A Wayland
/// compositor does tell, but only after a frame was handed to it: a tick that painted nothing takes its next one from
/// the timer, and so does a pace that is slower than the screen.
///
/// Threads:   interface thread.
/// Lifecycle: the widget outlives this.
class QtDisplayLink final : public QObject, public DisplayLink {
    Q_OBJECT

public:
    /// Requires: a top-level widget that has a window.
    QtDisplayLink(QWidget& topLevel, std::optional<FrameRateRange> range, std::function<void()> onFrame);

    [[nodiscard]] double framesPerSecond() const override { return framesPerSecond_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void followScreen();
    void askForFrameCallback();
    [[nodiscard]] bool onFrameCallback();
    void tick();

    QWidget& widget_;
    const QPointer<QWindow> window_; // a widget may get another one
    const std::optional<FrameRateRange> range_;
    const std::shared_ptr<const std::function<void()>> onFrame_;
    QMetaObject::Connection screenRate_;
    double framesPerSecond_ = 0;
    std::chrono::nanoseconds period_{};
    TimerFd timer_;
    bool takesCallbacks_ = false; // the compositor's, after a paint
    bool awaitsCallback_ = false;
    std::chrono::steady_clock::time_point lastTick_;
};

} // namespace rewindle
