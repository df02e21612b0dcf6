#include "platform/desktop/InstanceClient.h"

#include "platform/desktop/DbusStatus.h"

#include <QDBusError>
#include <QDBusMessage>

namespace rewindle {
namespace {

constexpr auto kApplicationInterface = "org.freedesktop.Application";

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
    return answerOf(QDBusError(call(kApplicationInterface, "Activate", {token.toPlatformData()})));
}

InstanceAnswer InstanceClient::find() const {
    if (!bus_.isConnected()) return InstanceAnswer::noBus;
    const auto reply = call("org.freedesktop.DBus.Introspectable", "Introspect", {});
    const auto answer = answerOf(QDBusError(reply));
    if (answer != InstanceAnswer::shown) return answer;
    const bool hasWindow = reply.arguments().value(0).toString().contains(QLatin1String(kApplicationInterface));
    return hasWindow ? InstanceAnswer::windowed : InstanceAnswer::headless;
}

QDBusMessage InstanceClient::call(const char* interface, const char* method, const QVariantList& arguments) const {
    auto message =
        QDBusMessage::createMethodCall(QString::fromLatin1(kControlBusName), QString::fromLatin1(kControlObjectPath),
                                       QString::fromLatin1(interface), QString::fromLatin1(method));
    message.setAutoStartService(false);
    message.setArguments(arguments);
    return bus_.call(message, QDBus::Block, timeoutMs_);
}

} // namespace rewindle
