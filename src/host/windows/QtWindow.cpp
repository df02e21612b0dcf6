#include "host/windows/QtWindow.h"

#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QStyle>
#include <QWindow>

#include <cmath>
#include <utility>

namespace rewindle {
namespace {

constexpr auto kFrameAnimationTime = std::chrono::milliseconds(200);
/// A window manager that does not resize a window when its state changes keeps nobody waiting longer.
constexpr auto kSettleLimit = std::chrono::milliseconds(1'000);

QRect toQRect(const Rect& rect) {
    return QRectF(rect.x, rect.y, rect.width, rect.height).toRect();
}
Rect toRect(const QRect& rect) {
    return {double(rect.x()), double(rect.y()), double(rect.width()), double(rect.height())};
}

/// Wayland's compositors place windows themselves, and tell nobody where.
bool placesWindows() {
    return !QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

} // namespace

QtWindow::QtWindow(QWidget& widget, WindowActivator& activator, std::chrono::milliseconds frameLimit)
    : widget_(widget), activator_(activator), frameLimit_(frameLimit) {
    widget_.installEventFilter(this);
    watchHandle();
    drawing_.setSingleShot(true);
    connect(&drawing_, &QTimer::timeout, this, &QtWindow::onDrawn);
    settling_.setSingleShot(true);
    connect(&settling_, &QTimer::timeout, this, &QtWindow::onSettled);
    animation_.setEasingCurve(QEasingCurve::OutCubic);
    connect(&animation_, &QVariantAnimation::valueChanged, this,
            [this](const QVariant& frame) { applyFrame(frame.toRect()); });
}

bool QtWindow::isVisible() const {
    return widget_.isVisible();
}

bool QtWindow::isMiniaturized() const {
    return widget_.isMinimized();
}

bool QtWindow::isFullScreen() const {
    return widget_.isFullScreen() || !onLeftFullScreen_.empty();
}

void QtWindow::deminiaturize() {
    widget_.setWindowState(widget_.windowState() & ~Qt::WindowMinimized);
}

void QtWindow::makeKeyAndOrderFront() {
    deminiaturize();
    widget_.show();
    activator_.activate(widget_);
}

void QtWindow::orderOut() {
    if (!widget_.isVisible()) return;
    finishAnimation();
    widget_.hide();
}

void QtWindow::leaveFullScreen(std::function<void()> completion) {
    if (!isFullScreen()) return completion();
    onLeftFullScreen_.push_back(std::move(completion));
    if (!widget_.isFullScreen()) return; // on its way already
    leaveState(Qt::WindowFullScreen);
}

void QtWindow::afterNextFrame(std::function<void()> work) {
    onDrawn_.push_back(std::move(work));
    if (!drawing_.isActive()) drawing_.start(frameLimit_);
}

void QtWindow::onDrawn() {
    for (const auto& work : std::exchange(onDrawn_, {}))
        work();
}

void QtWindow::leaveState(Qt::WindowState state) {
    settling_.start(isMapped_ ? kSettleLimit : std::chrono::milliseconds(0));
    widget_.setWindowState(widget_.windowState() & ~state);
}

std::optional<Rect> QtWindow::visibleFrame() const {
    const auto* const own = widget_.screen();
    const auto* const screen = own ? own : QGuiApplication::primaryScreen();
    return screen ? std::optional(toRect(screen->availableGeometry())) : std::nullopt;
}

Rect QtWindow::frameRectForContentRect(const Rect& content) const {
    const auto borders = this->borders();
    return {content.x - borders.left(), content.y - borders.top(), content.width + borders.left() + borders.right(),
            content.height + borders.top() + borders.bottom()};
}

void QtWindow::setFrame(const Rect& frame, bool animate) {
    const bool isMaximized = widget_.isMaximized();
    if (wasMapped_ && !isMaximized) return moveFrame(toQRect(frame), animate);
    // The borders are not yet those that the window will have.
    const auto target = toQRect(frame);
    pendingFrame_ = PendingFrame{.content = QRect(target.topLeft(), target.size().shrunkBy(borders())),
                                 .animate = animate && widget_.isVisible(),
                                 .isApplied = !widget_.isVisible()};
    if (isMaximized) leaveState(Qt::WindowMaximized);
    if (pendingFrame_->isApplied) applyFrame(target);
}

bool QtWindow::eventFilter(QObject* watched, QEvent* event) {
    if (watched == handle_) {
        if (event->type() == QEvent::Expose && handle_->isExposed() && !isMapped_) {
            isMapped_ = wasMapped_ = true;
            settling_.start(0); // when the events about its place that came with it have been seen
        }
        return false;
    }
    switch (event->type()) {
    case QEvent::Show:
    case QEvent::WinIdChange: watchHandle(); break;
    case QEvent::Hide:
        if (!widget_.isVisible()) isMapped_ = false; // not merely miniaturised
        break;
    case QEvent::Paint:
        if (drawing_.isActive()) drawing_.start(0); // when it and all that is in it has been painted
        break;
    case QEvent::Resize:
        if (settling_.isActive()) settling_.start(0);
        break;
    default: break;
    }
    return false;
}

void QtWindow::watchHandle() {
    if (handle_ == widget_.windowHandle()) return;
    if (handle_) handle_->removeEventFilter(this);
    handle_ = widget_.windowHandle();
    if (handle_) handle_->installEventFilter(this);
}

void QtWindow::onSettled() {
    for (const auto& completion : std::exchange(onLeftFullScreen_, {}))
        completion();
    if (!isMapped_ || !pendingFrame_) return;
    const auto pending = *std::exchange(pendingFrame_, std::nullopt);
    const bool wasChanged = pending.isApplied && widget_.size() != pending.content.size();
    if (wasChanged && !placesWindows()) return; // by the compositor, when it showed the window
    moveFrame(QRect(pending.content.topLeft(), pending.content.size().grownBy(borders())), pending.animate);
}

QMargins QtWindow::borders() const {
    return wasMapped_ && handle_ ? handle_->frameMargins() : QMargins();
}

QRect QtWindow::currentFrame() const {
    return widget_.geometry().marginsAdded(borders());
}

void QtWindow::moveFrame(const QRect& frame, bool animate) {
    animation_.stop();
    const bool calm = widget_.style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, &widget_) == 0;
    if (!animate || calm || !isMapped_ || !placesWindows()) return applyFrame(frame);
    animation_.setStartValue(currentFrame());
    animation_.setEndValue(frame);
    animation_.setDuration(static_cast<int>(kFrameAnimationTime.count()));
    animation_.start();
}

void QtWindow::finishAnimation() {
    if (animation_.state() != QAbstractAnimation::Running) return;
    animation_.stop();
    applyFrame(animation_.endValue().toRect());
}

void QtWindow::applyFrame(const QRect& frame) {
    const auto content = frame.marginsRemoved(borders());
    widget_.resize(content.size());
    if (placesWindows()) widget_.move(frame.topLeft());
}

} // namespace rewindle
