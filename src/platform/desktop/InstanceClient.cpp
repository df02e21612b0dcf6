#include "platform/desktop/InstanceClient.h"

#include "platform/desktop/DbusStatus.h"

#include <QDBusError>
#include <QDBusMessage>

namespace rewindle {
namespace {

constexpr int kAnswerTimeoutMs = 3'000;

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
    // Qt has no number for this one.
    const bool isFree = error.name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner");
    return isFree ? InstanceAnswer::noInstance : InstanceAnswer::failed;
}

} // namespace

InstanceAnswer InstanceClient::activate(const ActivationToken& token) const {
    if (!bus_.isConnected()) return InstanceAnswer::noBus;
    auto call =
        QDBusMessage::createMethodCall(QString::fromLatin1(kControlBusName), QString::fromLatin1(kControlObjectPath),
                                       QStringLiteral("org.freedesktop.Application"), QStringLiteral("Activate"));
    call.setAutoStartService(false);
    call.setArguments({token.toPlatformData()});
    return answerOf(QDBusError(bus_.call(call, QDBus::Block, kAnswerTimeoutMs)));
}

} // namespace rewindle
