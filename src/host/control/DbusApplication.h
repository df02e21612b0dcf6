#pragma once

#include "host/control/ActivationToken.h"

#include <QDBusAbstractAdaptor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QStringList>
#include <QVariantMap>

#include <functional>
#include <map>

namespace rewindle {

/// Lets the desktop and a second start of the program bring the running instance to the front, as the interface
/// org.freedesktop.Application. An instance without a window tells a second start so, which then tells the user. A
/// desktop would not: for its requests the handler runs.
///
/// Threads:   interface thread. Handlers run in a later turn of the event loop, when the caller has its answer.
/// Lifecycle: make it before the object's name is taken on the bus; it goes with the object.
class DbusApplication final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
    using Handler = std::function<void(const ActivationToken&)>;
    struct Handlers {
        Handler activate;
        std::map<QString, Handler> actions; // by their names in the desktop entry
        bool hasWindow = true;
    };
    /// Requires: `exported` is registered on `bus` with its adaptors.
    DbusApplication(QObject& exported, QDBusConnection bus, Handlers handlers);

    // The methods of the interface, by their names on the bus
    Q_SLOT void Activate(const QVariantMap& platformData, const QDBusMessage& call);
    /// The program opens no files: it only comes to the front.
    Q_SLOT void Open(const QStringList& uris, const QVariantMap& platformData);
    /// An action that does not exist is answered by an error.
    Q_SLOT void ActivateAction(const QString& name, const QVariantList& parameter, const QVariantMap& platformData,
                               const QDBusMessage& call);

private:
    void run(const Handler& handler, const QVariantMap& platformData);

    QDBusConnection bus_;
    Handlers handlers_;
};

} // namespace rewindle
