#include "host/control/DbusApplication.h"

#include "host/control/DbusStatus.h"

#include <QDBusError>

#include <utility>

namespace rewindle {

DbusApplication::DbusApplication(QObject& exported, QDBusConnection bus, Handlers handlers)
    : QDBusAbstractAdaptor(&exported), bus_(std::move(bus)), handlers_(std::move(handlers)) {}

void DbusApplication::Activate(const QVariantMap& platformData, const QDBusMessage& call) {
    const auto caller = platformData.value(QString::fromLatin1(kCallerKey)).toString();
    if (!caller.isEmpty() && !handlers_.hasWindow) {
        call.setDelayedReply(true); // the error is the reply
        bus_.send(call.createErrorReply(QString::fromLatin1(kNoWindowError), QStringLiteral("There is no window.")));
    } else if (caller != QLatin1String(kCallerLooks)) {
        run(handlers_.activate, platformData);
    }
}

void DbusApplication::Open(const QStringList&, const QVariantMap& platformData) {
    run(handlers_.activate, platformData);
}

void DbusApplication::ActivateAction(const QString& name, const QVariantList&, const QVariantMap& platformData,
                                     const QDBusMessage& call) {
    const auto action = handlers_.actions.find(name);
    if (action != handlers_.actions.end()) return run(action->second, platformData);
    call.setDelayedReply(true); // the error is the reply
    bus_.send(call.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("There is no such action.")));
}

void DbusApplication::run(const Handler& handler, const QVariantMap& platformData) {
    // Not now: a handler may take its time, or open a dialog, and the caller waits for the answer.
    QMetaObject::invokeMethod(
        this, [handler, token = ActivationToken::fromPlatformData(platformData)] { handler(token); },
        Qt::QueuedConnection);
}

} // namespace rewindle
