#include "host/consent/StoredConsentPortal.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QMap>
#include <QStringList>
#include <QThread>

#include <cerrno>

namespace rewindle::StoredConsentPortal {
namespace {

using Permissions = QMap<QString, QStringList>; // by application

QString latin(const char* text) {
    return QString::fromLatin1(text);
}

QDBusPendingCall call(const QDBusConnection& bus, const char* method, const QVariantList& arguments) {
    auto message =
        QDBusMessage::createMethodCall(latin(kBusName), latin(kObjectPath), latin(kInterface), latin(method));
    message.setArguments(arguments);
    return bus.asyncCall(message);
}

/// A list that says both is no consent; one that says neither is no answer.
Entry entryIn(const QVariant& permissions) {
    const auto own = qdbus_cast<Permissions>(permissions).value(latin(kApplication));
    if (own.contains(QStringLiteral("no"))) return {false};
    if (own.contains(QStringLiteral("yes"))) return {true};
    return {};
}

/// There is no bus, or nobody on it who is the store or could be started as it.
bool isMissing(const QString& error) {
    return error == QDBusError::errorString(QDBusError::ServiceUnknown) ||
           error == QDBusError::errorString(QDBusError::Disconnected) ||
           error.startsWith(QLatin1String("org.freedesktop.DBus.Error.Spawn."));
}

} // namespace

QDBusPendingCall lookUp(const QDBusConnection& bus) {
    return call(bus, "Lookup", {latin(kTable), latin(kId)});
}

QDBusPendingCall setPermission(const QDBusConnection& bus, bool granted) {
    return call(bus, "SetPermission",
                {latin(kTable), true, latin(kId), latin(kApplication),
                 QStringList{granted ? QStringLiteral("yes") : QStringLiteral("no")}});
}

std::optional<Entry> entryInReply(const QDBusMessage& reply) {
    if (reply.type() == QDBusMessage::ReplyMessage) return entryIn(reply.arguments().value(0));
    // Nobody has stored anything of the kind yet.
    if (reply.errorName() == QLatin1String("org.freedesktop.portal.Error.NotFound")) return Entry{};
    return std::nullopt;
}

std::optional<Entry> entryInSignal(const QDBusMessage& signal) {
    const auto arguments = signal.arguments(); // table, id, deleted, data, permissions
    if (arguments.size() != 5 || arguments[0] != latin(kTable) || arguments[1] != latin(kId)) return std::nullopt;
    return arguments[2].toBool() ? Entry{} : entryIn(arguments[4]);
}

Result<void> outcomeOfSetting(const std::optional<QDBusMessage>& reply) {
    if (!reply) return Error{ETIMEDOUT, "the desktop's permission store does not answer"};
    if (reply->type() == QDBusMessage::ReplyMessage || isMissing(reply->errorName())) return {};
    return Error{EIO, "the desktop's permission store: " + reply->errorMessage().toStdString()};
}

std::optional<QDBusMessage> replyWithin(const QDBusPendingCall& call, QDeadlineTimer limit) {
    while (!call.isFinished()) {
        if (limit.hasExpired()) return std::nullopt;
        QThread::usleep(200); // Qt's own thread takes the reply in
    }
    return call.reply();
}

} // namespace rewindle::StoredConsentPortal
