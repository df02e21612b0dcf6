#pragma once

#include <QDBusContext>
#include <QDBusServiceWatcher>
#include <QObject>
#include <QStringList>

namespace rewindle::support {

/// A desktop's list of status items, org.kde.StatusNotifierWatcher. What shows them registers as a host.
///
/// Threads: the one that made it.
class StatusNotifierWatcher final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items SCRIPTABLE true)
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost SCRIPTABLE true)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion SCRIPTABLE true)

public:
    StatusNotifierWatcher();
    /// Takes the name on the session bus; false when somebody else has it.
    [[nodiscard]] bool start();

    [[nodiscard]] QStringList items() const { return items_; }
    [[nodiscard]] bool hasHost() const { return !hosts_.isEmpty(); }
    [[nodiscard]] int protocolVersion() const { return 0; }

    // The methods of the interface, by their names on the bus
    Q_SLOT Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString& service);
    Q_SLOT Q_SCRIPTABLE void RegisterStatusNotifierHost(const QString& service);
    // Its signals
    Q_SIGNAL Q_SCRIPTABLE void StatusNotifierItemRegistered(const QString& item);
    Q_SIGNAL Q_SCRIPTABLE void StatusNotifierItemUnregistered(const QString& item);
    Q_SIGNAL Q_SCRIPTABLE void StatusNotifierHostRegistered();
    Q_SIGNAL Q_SCRIPTABLE void StatusNotifierHostUnregistered();

private:
    void onGone(const QString& service);

    QDBusServiceWatcher present_;
    QStringList items_; // the bus names of those who have one
    QStringList hosts_;
};

} // namespace rewindle::support
