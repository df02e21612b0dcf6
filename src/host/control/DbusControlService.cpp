#include "host/control/DbusControlService.h"

#include "host/control/DbusStatus.h"

#include <QDBusConnectionInterface>
#include <QDBusError>
#include <QDBusMessage>

#include <cmath>

namespace rewindle {
namespace {

QString toQString(const std::string& text) {
    return QString::fromStdString(text);
}
QString toQString(const std::filesystem::path& path) {
    return QString::fromStdString(path.native());
}
std::filesystem::path toPath(const QString& text) {
    return text.toStdString();
}

} // namespace

class DbusControlService::Answer {
public:
    Answer(QDBusConnection bus, const QDBusMessage& call) : bus_(std::move(bus)), call_(call) {}

    void send(const QVariantList& values = {}) const { bus_.send(call_.createReply(values)); }
    void sendError(const char* name, const std::string& message) const {
        bus_.send(call_.createErrorReply(QString::fromLatin1(name), toQString(message)));
    }

private:
    QDBusConnection bus_;
    QDBusMessage call_;
};

DbusControlService::DbusControlService(CaptureControl& control, QDBusConnection bus, Log log)
    : control_(control), bus_(std::move(bus)), log_(std::move(log)) {
    control_.onClipExported = [this](const CaptureControl::Path& path) { Q_EMIT ClipExported(toQString(path)); };
    control_.onCaptureStateChanged = [this] { Q_EMIT CaptureStateChanged(); };
}

DbusControlService::~DbusControlService() {
    control_.onClipExported = nullptr;
    control_.onCaptureStateChanged = nullptr;
    bus_.unregisterObject(QString::fromLatin1(kControlObjectPath));
    if (!ownsName_) return;
    bus_.unregisterService(QString::fromLatin1(kControlBusName));
    for (const auto& answer : quitAnswers_)
        answer.send();
    // The process may end right after this. The bus's answer shows that what was sent before is out.
    (void)bus_.interface()->isServiceRegistered(QString::fromLatin1(kControlBusName));
}

DbusControlService::Start DbusControlService::start() {
    if (!bus_.isConnected()) {
        log_.warning("There is no session bus: no command will reach this instance.");
        return Start::noBus;
    }
    // The object comes first: who sees the name may call at once.
    bus_.registerObject(QString::fromLatin1(kControlObjectPath), this,
                        QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableSignals |
                            QDBusConnection::ExportAdaptors);
    const auto name = bus_.interface()->registerService(QString::fromLatin1(kControlBusName),
                                                        QDBusConnectionInterface::DontQueueService,
                                                        QDBusConnectionInterface::DontAllowReplacement);
    if (!name.isValid()) {
        log_.warning("No command will reach this instance: " + name.error().message().toStdString());
        return Start::noBus;
    }
    if (name.value() != QDBusConnectionInterface::ServiceRegistered) return Start::alreadyRunning;
    ownsName_ = true;
    bus_.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                 QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                 SLOT(onBusGone()));
    return Start::controllable;
}

void DbusControlService::onBusGone() {
    ownsName_ = false;
    log_.warning("The session bus is gone: no command will reach this instance any more.");
}

DbusControlService::Answer DbusControlService::answerLater() {
    setDelayedReply(true);
    return {connection(), message()};
}

void DbusControlService::refuse(const QString& why) const {
    sendErrorReply(QString::fromLatin1(kControlInvalidArgumentError), why);
}

bool DbusControlService::refusesFolder(const QString& folder) const {
    if (folder.isEmpty() || folder.startsWith(QLatin1Char('/'))) return false;
    refuse(QStringLiteral("A folder is given by its absolute path."));
    return true;
}

QString DbusControlService::ExportLast(double seconds, const QString& folder) {
    if (!std::isfinite(seconds) || seconds < kShortestClipSeconds) {
        refuse(QStringLiteral("A clip is at least 0.01 seconds long."));
        return {};
    }
    if (refusesFolder(folder)) return {};
    control_.exportLast(seconds, toPath(folder), answerWithPath());
    return {};
}

QString DbusControlService::ExportAll(const QString& folder) {
    if (!refusesFolder(folder)) control_.exportAll(toPath(folder), answerWithPath());
    return {};
}

CaptureControl::ExportReply DbusControlService::answerWithPath() {
    return [answer = answerLater()](const Result<CaptureControl::Path>& outcome) {
        if (outcome) {
            answer.send({toQString(outcome.value())});
        } else {
            answer.sendError(kControlFailedError, outcome.error().message);
        }
    };
}

void DbusControlService::SetFrozen(bool frozen) {
    control_.setFrozen(frozen);
}

QVariantMap DbusControlService::Status() {
    control_.requestStatus(
        [answer = answerLater()](const CaptureStatus& status) { answer.send({toVariantMap(status)}); });
    return {};
}

void DbusControlService::SetDuration(int seconds) {
    control_.setDuration(seconds, [answer = answerLater()](const Result<void>& outcome) {
        if (outcome) {
            answer.send();
        } else {
            answer.sendError(outcome.error().code ? kControlFailedError : kControlInvalidArgumentError,
                             outcome.error().message);
        }
    });
}

void DbusControlService::SetGain(double gainDB) {
    const auto outcome = control_.setGain(gainDB);
    if (!outcome) refuse(toQString(outcome.error().message));
}

void DbusControlService::Quit() {
    quitAnswers_.push_back(answerLater());
    control_.quit();
}

} // namespace rewindle
