#include "host/windows/QtDisplayLink.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>

#include <algorithm>
#include <utility>

namespace rewindle {
namespace {

constexpr double kLeastScreenRate = 20; // frames per second; a screen that claims less does not know its rate
constexpr double kUsualScreenRate = 60;
/// A screen of 59.94 or 60.05 Hz still counts as one of 60.
constexpr double kRateTolerance = 1.05;

double rateOf(const QScreen* screen) {
    const double rate = screen ? screen->refreshRate() : 0;
    return rate >= kLeastScreenRate ? rate : kUsualScreenRate;
}

double paced(double screenRate, const std::optional<FrameRateRange>& range) {
    if (!range || (screenRate >= range->minimum && screenRate <= range->maximum * kRateTolerance)) return screenRate;
    return range->preferred;
}

} // namespace

QtDisplayLink::QtDisplayLink(QWidget& topLevel, std::optional<FrameRateRange> range, std::function<void()> onFrame)
    : widget_(topLevel), window_(topLevel.windowHandle()), range_(range),
      onFrame_(std::make_shared<const std::function<void()>>(std::move(onFrame))), timer_([this] { tick(); }) {
    connect(window_, &QWindow::screenChanged, this, &QtDisplayLink::followScreen);
    followScreen();
    if (QGuiApplication::platformName().startsWith(QLatin1String("wayland"))) {
        widget_.installEventFilter(this);
        window_->installEventFilter(this);
    }
}

void QtDisplayLink::followScreen() {
    disconnect(screenRate_);
    const auto* const screen = window_->screen();
    if (screen) screenRate_ = connect(screen, &QScreen::refreshRateChanged, this, &QtDisplayLink::followScreen);
    const double screenRate = rateOf(screen);
    framesPerSecond_ = paced(screenRate, range_);
    takesCallbacks_ = screenRate <= framesPerSecond_;
    period_ = std::chrono::round<std::chrono::nanoseconds>(std::chrono::duration<double>(1 / framesPerSecond_));
    awaitsCallback_ = false;
    timer_.start(period_, period_);
}

bool QtDisplayLink::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() != QEvent::UpdateRequest) return false;
    if (watched == window_) return onFrameCallback();
    // The widget is about to paint. Once it has, the compositor owes a callback.
    if (takesCallbacks_ && !awaitsCallback_)
        QMetaObject::invokeMethod(this, &QtDisplayLink::askForFrameCallback, Qt::QueuedConnection);
    return false;
}

void QtDisplayLink::askForFrameCallback() {
    if (awaitsCallback_ || !window_ || !window_->isExposed()) return;
    awaitsCallback_ = true;
    timer_.stop();
    window_->requestUpdate();
}

/// True when the event was ours: passed on, it would repaint the whole window.
bool QtDisplayLink::onFrameCallback() {
    if (!std::exchange(awaitsCallback_, false)) return false;
    const auto now = std::chrono::steady_clock::now();
    // A callback that comes at once is not about a frame: the paint has changed nothing that the compositor could show.
    const bool shown = now - lastTick_ >= period_ / 2;
    timer_.start(shown ? period_ : period_ - (now - lastTick_), period_);
    if (shown) tick();
    return true;
}

void QtDisplayLink::tick() {
    lastTick_ = std::chrono::steady_clock::now();
    const auto onFrame = onFrame_; // a copy: the call may destroy the link
    (*onFrame)();
}

} // namespace rewindle
