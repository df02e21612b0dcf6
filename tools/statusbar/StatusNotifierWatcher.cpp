#include "statusbar/StatusNotifierWatcher.h"

#include <QDBusConnection>
#include <QDBusMessage>

namespace rewindle::support {

StatusNotifierWatcher::StatusNotifierWatcher() {
    present_.setConnection(QDBusConnection::sessionBus());
    present_.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
    connect(&present_, &QDBusServiceWatcher::serviceUnregistered, this, &StatusNotifierWatcher::onGone);
}

bool StatusNotifierWatcher::start() {
    auto bus = QDBusConnection::sessionBus();
    return bus.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                              QDBusConnection::ExportScriptableContents) &&
           bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
}

void StatusNotifierWatcher::RegisterStatusNotifierItem(const QString& service) {
    // Some give an object path instead of their name.
    const auto item = service.startsWith(QLatin1Char('/')) ? message().service() : service;
    if (items_.contains(item)) return;
    items_.append(item);
    present_.addWatchedService(item);
    Q_EMIT StatusNotifierItemRegistered(item);
}

void StatusNotifierWatcher::RegisterStatusNotifierHost(const QString& service) {
    hosts_.append(service);
    present_.addWatchedService(service);
    Q_EMIT StatusNotifierHostRegistered();
}

void StatusNotifierWatcher::onGone(const QString& service) {
    if (items_.removeAll(service) > 0) Q_EMIT StatusNotifierItemUnregistered(service);
    if (hosts_.removeAll(service) > 0) Q_EMIT StatusNotifierHostUnregistered();
    present_.removeWatchedService(service);
}

} // namespace rewindle::support
