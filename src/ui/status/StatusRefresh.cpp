#include "ui/status/StatusRefresh.h"

#include <QEvent>
#include <QPointer>

namespace rewindle {

StatusRefresh::StatusRefresh(QWidget& widget, CaptureControl& control, int intervalMs, Listener listener)
    : QObject(&widget), widget_(widget), control_(control), listener_(std::move(listener)) {
    timer_.setInterval(intervalMs);
    connect(&timer_, &QTimer::timeout, this, [this] { refresh(); });
    widget.installEventFilter(this);
    followVisibility();
}

void StatusRefresh::refresh() {
    if (isAwaitingReply_ || !isSeen()) return;
    isAwaitingReply_ = true;
    control_.requestStatus([self = QPointer(this)](const CaptureStatus& status) {
        if (!self) return;
        self->isAwaitingReply_ = false;
        self->listener_(status);
    });
}

void StatusRefresh::setCovered(bool isCovered) {
    isCovered_ = isCovered;
    followVisibility();
}

bool StatusRefresh::eventFilter(QObject* watched, QEvent* event) {
    const auto type = event->type();
    if (type == QEvent::Show || type == QEvent::Hide || type == QEvent::WindowStateChange) followVisibility();
    return QObject::eventFilter(watched, event);
}

bool StatusRefresh::isSeen() const {
    return !isCovered_ && widget_.isVisible() && !widget_.window()->isMinimized();
}

void StatusRefresh::followVisibility() {
    if (auto* const window = widget_.window(); window != window_) {
        if (window_ && window_ != &widget_) window_->removeEventFilter(this);
        window_ = window;
        if (window_ != &widget_) window_->installEventFilter(this);
    }
    if (isSeen() == timer_.isActive()) return;
    if (!isSeen()) return timer_.stop();
    timer_.start();
    refresh();
}

} // namespace rewindle
