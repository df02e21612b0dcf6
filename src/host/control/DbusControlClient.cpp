#include "host/control/DbusControlClient.h"

#include "app/StatusText.h"
#include "host/control/DbusStatus.h"

#include <QDBusArgument>
#include <QDBusError>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>

#include <limits>
#include <optional>
#include <system_error>

namespace rewindle {
namespace {

constexpr int kUsualTimeoutMs = 25'000;
constexpr int kNoTimeout = std::numeric_limits<int>::max(); // libdbus takes it as "never"

CommandOutcome failure(ExitCode code, std::string_view error) {
    return {code, {}, oneLine(error)};
}

CommandOutcome noInstance() {
    return failure(ExitCode::noInstance, "no instance is running; start one with: rewindle");
}

/// Whether the instance ended, in which case the bus answers for it, or the bus itself, in which case the connection
/// broke.
bool endedMeanwhile(const QDBusMessage& reply) {
    if (reply.type() != QDBusMessage::ErrorMessage) return false;
    const auto type = QDBusError(reply).type();
    return type == QDBusError::NoReply || type == QDBusError::Disconnected || type == QDBusError::Timeout ||
           type == QDBusError::TimedOut;
}

/// The outcome of a command whose call failed; none when it succeeded.
std::optional<CommandOutcome> failureOf(const QDBusMessage& reply) {
    if (reply.type() == QDBusMessage::ReplyMessage) return std::nullopt;
    const auto name = reply.errorName();
    // The second comes where a service file could start an instance, which the call forbids.
    if (name == QLatin1String("org.freedesktop.DBus.Error.ServiceUnknown") ||
        name == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner")) {
        return noInstance();
    }
    if (endedMeanwhile(reply)) {
        return failure(ExitCode::failed, "the running instance ended, or stopped answering, before this was done");
    }
    return failure(ExitCode::failed, reply.errorMessage().toStdString());
}

CommandOutcome doneUnlessFailed(const QDBusMessage& reply) {
    return failureOf(reply).value_or(CommandOutcome{});
}

CommandOutcome unexpectedAnswer() {
    return failure(ExitCode::failed, "the running instance gave an answer that this version does not understand");
}

} // namespace

CommandOutcome DbusControlClient::run(const ControlCommand& command) const {
    if (!bus_.isConnected())
        return failure(ExitCode::noInstance, "no instance is running within reach: there is no session bus");
    return std::visit([this](const auto& specific) { return carryOut(specific); }, command);
}

QDBusMessage DbusControlClient::call(const char* method, const QVariantList& arguments, int timeoutMs) const {
    auto message =
        QDBusMessage::createMethodCall(QString::fromLatin1(kControlBusName), QString::fromLatin1(kControlObjectPath),
                                       QString::fromLatin1(kControlInterface), QString::fromLatin1(method));
    message.setAutoStartService(false);
    message.setArguments(arguments);

    // Not a blocking call: QtDBus never ends one when the bus itself goes away.
    QEventLoop loop;
    auto bus = bus_;
    bus.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), &loop, SLOT(quit()));
    const QDBusPendingCallWatcher watcher(bus.asyncCall(message, timeoutMs));
    QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
    loop.exec();
    return watcher.isFinished() ? watcher.reply() : message.createErrorReply(QDBusError::Disconnected, QString());
}

CommandOutcome DbusControlClient::carryOut(const ExportCommand& command) const {
    QString folder;
    if (!command.folder.empty()) {
        // Made absolute here: the running instance has a working folder of its own.
        std::error_code error;
        const auto absolute = std::filesystem::absolute(command.folder, error);
        if (error) return failure(ExitCode::failed, "the working folder cannot be found: " + error.message());
        std::filesystem::path clean; // without "."; ".." stays, because a link may stand before it
        for (const auto& part : absolute) {
            if (part != ".") clean /= part;
        }
        folder = QString::fromStdString(clean.native());
        if (folder.toStdString() != clean.native()) {
            return failure(ExitCode::failed, "the folder's name is not valid UTF-8");
        }
    }
    const auto reply = command.lastSeconds ? call("ExportLast", {*command.lastSeconds, folder}, kNoTimeout)
                                           : call("ExportAll", {folder}, kNoTimeout);
    if (auto failed = failureOf(reply)) return *failed;
    const auto path = reply.arguments().value(0).toString();
    if (path.isEmpty()) return unexpectedAnswer();
    return {ExitCode::done, path.toStdString() + "\n", {}};
}

CommandOutcome DbusControlClient::carryOut(const StatusCommand& command) const {
    const auto reply = call("Status", {}, kUsualTimeoutMs);
    if (auto failed = failureOf(reply)) return *failed;
    const auto map = qdbus_cast<QVariantMap>(reply.arguments().value(0));
    if (map.isEmpty()) return unexpectedAnswer();
    const auto status = toCaptureStatus(map);
    return {ExitCode::done, command.json ? statusJson(status) : statusText(status), {}};
}

CommandOutcome DbusControlClient::carryOut(const FreezeCommand& command) const {
    return doneUnlessFailed(call("SetFrozen", {command.frozen}, kUsualTimeoutMs));
}

CommandOutcome DbusControlClient::carryOut(const DurationCommand& command) const {
    return doneUnlessFailed(call("SetDuration", {seconds(command.duration)}, kNoTimeout));
}

CommandOutcome DbusControlClient::carryOut(const GainCommand& command) const {
    return doneUnlessFailed(call("SetGain", {command.gainDB}, kUsualTimeoutMs));
}

CommandOutcome DbusControlClient::carryOut(const QuitCommand&) const {
    const auto reply = call("Quit", {}, kNoTimeout);
    // It answers when it has ended; when it ended before it could answer, that will do, too.
    return endedMeanwhile(reply) ? CommandOutcome{} : doneUnlessFailed(reply);
}

} // namespace rewindle
