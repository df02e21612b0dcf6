#include "host/windows/QtAnimatedWindow.h"

#include "host/windows/QtDisplayLink.h"
#include "host/windows/X11Activation.h"
#include "render/clock/WindowVisibilityMonitor.h"

#include <QEvent>
#include <QGuiApplication>

#include <utility>

namespace rewindle {

QtAnimatedWindow::QtAnimatedWindow(QWidget& topLevel) : widget_(topLevel) {
    soon_.setSingleShot(true);
    connect(&soon_, &QTimer::timeout, this, &QtAnimatedWindow::update);
    if (isOnX11()) stack_ = std::make_unique<X11WindowStack>([this] { update(); });
    widget_.installEventFilter(this);
    watchHandle();
    connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &QtAnimatedWindow::focusMoved);
    wasKey_ = isKey();
    update();
}

QtAnimatedWindow::~QtAnimatedWindow() {
    announce(WindowNotification::occlusionStateChanged);
}

bool QtAnimatedWindow::isKey() const {
    return handle_ && QGuiApplication::focusWindow() == handle_;
}

Rect QtAnimatedWindow::frame() const {
    if (stack_) return view_.frame;
    const auto geometry = widget_.geometry();
    return {double(geometry.x()), double(geometry.y()), double(geometry.width()), double(geometry.height())};
}

std::unique_ptr<DisplayLink> QtAnimatedWindow::makeDisplayLink(std::optional<FrameRateRange> range,
                                                               std::function<void()> onFrame) {
    if (!hasContentView()) return nullptr;
    return std::make_unique<QtDisplayLink>(widget_, range, std::move(onFrame));
}

Observation QtAnimatedWindow::observe(WindowNotification notification, std::function<void()> handler) {
    return changes_.at(static_cast<std::size_t>(notification)).observe(std::move(handler));
}

void QtAnimatedWindow::announce(WindowNotification notification) {
    auto& changes = changes_.at(static_cast<std::size_t>(notification));
    changes.set(changes.get() + 1);
}

bool QtAnimatedWindow::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::WinIdChange: watchHandle(); [[fallthrough]];
    case QEvent::Show:
    case QEvent::Hide:
    case QEvent::WindowStateChange:
        if (watched == &widget_) soon_.start(0);
        break;
    case QEvent::Expose: // comes also for every piece that is uncovered
        if (watched == handle_ && handle_->isExposed() != sight_.isExposed) soon_.start(0);
        break;
    default: break;
    }
    return false;
}

void QtAnimatedWindow::watchHandle() {
    if (handle_ == widget_.windowHandle()) return;
    if (handle_) handle_->removeEventFilter(this);
    handle_ = widget_.windowHandle();
    if (handle_) handle_->installEventFilter(this);
}

void QtAnimatedWindow::update() {
    watchHandle();
    const auto before = std::pair(sight_, view_);
    sight_ = look();
    if (before != std::pair(sight_, view_)) announce(WindowNotification::occlusionStateChanged);
}

QtAnimatedWindow::Sight QtAnimatedWindow::look() {
    const bool isShown = handle_ && widget_.isVisible();
    Sight sight{.isExposed = isShown && handle_->isExposed(), .isMiniaturized = isMiniaturized()};
    sight.isOnScreen = sight.isOcclusionVisible = sight.isExposed;
    if (!stack_) return sight;
    // Watched before it is looked at: a window that comes back may be mapped, and have the keyboard, while its state
    // still says that it is hidden.
    stack_->watch(isShown && !sight.isMiniaturized);
    view_ = isShown ? stack_->viewOf(static_cast<std::uint32_t>(handle_->winId())) : X11WindowStack::View{};
    sight.isOnScreen = sight.isExposed && view_.isOnScreen;
    if (sight.isOnScreen && isKey())
        stack_->watch(false); // with the keyboard it counts as seen; Qt tells when it goes
    sight.isOcclusionVisible = sight.isOnScreen && uncoveredShare(view_.frame, view_.above) > 0;
    return sight;
}

void QtAnimatedWindow::focusMoved() {
    if (std::exchange(wasKey_, isKey()) == isKey()) return;
    update(); // nobody looked at the windows in front while this one had the keyboard
    announce(isKey() ? WindowNotification::becameKey : WindowNotification::resignedKey);
}

} // namespace rewindle
