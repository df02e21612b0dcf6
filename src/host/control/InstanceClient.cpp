#include "host/control/InstanceClient.h"

#include "host/control/DbusStatus.h"

#include <QDBusError>
#include <QDBusMessage>

namespace rewindle {
namespace {

InstanceAnswer answerOf(const QDBusError& error) {
    switch (error.type()) {
    case QDBusError::NoError: return InstanceAnswer::shown;
    case QDBusError::ServiceUnknown: return InstanceAnswer::noInstance;
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownMethod: return InstanceAnswer::headless;
    case QDBusError::Disconnected:
    case QDBusError::NoServer: return InstanceAnswer::noBus;
    default: break;
    }
    if (error.name() == QLatin1String(kNoWindowError)) return InstanceAnswer::headless;
    // Qt has no number for this one.
    const bool isFree = error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
    return isFree ? InstanceAnswer::noInstance : InstanceAnswer::failed;
}

} // namespace

InstanceAnswer InstanceClient::activate(const ActivationToken& token) const {
    return ask(kCallerStarts, token.toPlatformData());
}

InstanceAnswer InstanceClient::find() const {
    const auto answer = ask(kCallerLooks, {});
    return answer == InstanceAnswer::shown ? InstanceAnswer::windowed : answer;
}

InstanceAnswer InstanceClient::ask(const char* caller, QVariantMap platformData) const {
    if (!bus_.isConnected()) return InstanceAnswer::noBus;
    platformData[QString::fromLatin1(kCallerKey)] = QString::fromLatin1(caller);
    auto call =
        QDBusMessage::createMethodCall(QString::fromLatin1(kControlBusName), QString::fromLatin1(kControlObjectPath),
                                       QStringLiteral("org.freedesktop.Application"), QStringLiteral("Activate"));
    call.setAutoStartService(false);
    call.setArguments({platformData});
    return answerOf(QDBusError(bus_.call(call, QDBus::Block, timeoutMs_)));
}

} // namespace rewindle
