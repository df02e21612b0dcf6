#include "ui/components/KeyboardFocus.h"

#include <QFocusEvent>

namespace rewindle {

KeyboardFocus::KeyboardFocus(QWidget& widget) : QObject(&widget), widget_(widget) {
    widget.installEventFilter(this);
}

bool KeyboardFocus::eventFilter(QObject* watched, QEvent* event) {
    switch (event->type()) {
    case QEvent::FocusIn: {
        const auto reason = static_cast<QFocusEvent*>(event)->reason();
        // Coming back to the window changes nothing about how the focus got here.
        if (reason != Qt::ActiveWindowFocusReason) setVisible(reason != Qt::MouseFocusReason);
        break;
    }
    case QEvent::FocusOut:
        if (static_cast<QFocusEvent*>(event)->reason() != Qt::ActiveWindowFocusReason) setVisible(false);
        break;
    case QEvent::KeyPress: setVisible(widget_.hasFocus()); break;
    case QEvent::MouseButtonPress: setVisible(false); break;
    default: break;
    }
    return QObject::eventFilter(watched, event);
}

void KeyboardFocus::setVisible(bool visible) {
    if (isVisible_ == visible) return;
    isVisible_ = visible;
    widget_.update();
}

} // namespace rewindle
