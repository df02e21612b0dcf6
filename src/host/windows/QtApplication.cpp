#include "host/windows/QtApplication.h"

#include "host/control/DbusStatus.h"
#include "host/windows/ProgramIcon.h"

#include <QApplication>
#include <QWidget>

namespace rewindle {

void QtApplication::identify() {
    const auto id = QString::fromLatin1(kControlBusName); // one id for the bus, the windows and the desktop entry
    QCoreApplication::setApplicationName(id);
    QGuiApplication::setApplicationDisplayName(QStringLiteral("rewindle"));
    QGuiApplication::setDesktopFileName(id);
}

void QtApplication::showIcon() {
    QGuiApplication::setWindowIcon(programIcon());
}

QtApplication::QtApplication() {
    QGuiApplication::setQuitOnLastWindowClosed(false);
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, [this](Qt::ApplicationState state) {
        if (state == Qt::ApplicationActive && onBecameActive_) onBecameActive_();
    });
}

void QtApplication::activateIgnoringOtherApps() {
    for (auto* const window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && !window->isMinimized()) window->raise();
    }
}

void QtApplication::terminate() {
    QCoreApplication::exit(0);
}

} // namespace rewindle
