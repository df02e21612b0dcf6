#include "program/HeadlessProgram.h"

#include "program/Messages.h"

#include <QProcess>
#include <QProcessEnvironment>

#include <utility>

namespace rewindle {

HeadlessProgram::HeadlessProgram(LogSink& log, std::optional<RecordingDuration> durationForThisRun)
    : log_(log, "Headless"),
      host_({.log = log, .loginItem = loginItem_, .folderChooser = desktop_, .workspace = desktop_},
            durationForThisRun, [this] { end(); }),
      service_(host_.control(), QDBusConnection::sessionBus(), Log(log, "Control")),
      dbusApplication_(service_, QDBusConnection::sessionBus(),
                       {.activate = startWindow,
                        .actions = {{QStringLiteral("quit"), [this](const ActivationToken&) { end(); }}},
                        .hasWindow = false}) {}

void HeadlessProgram::startWindow(const ActivationToken& token) {
    const auto executable = QtProcessLauncher().executable();
    if (!executable) return;
    auto environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_ACTIVATION_TOKEN"), QString::fromUtf8(token.xdgToken));
    environment.insert(QStringLiteral("DESKTOP_STARTUP_ID"), QString::fromUtf8(token.startupId));
    QProcess window;
    window.setProcessEnvironment(environment);
    window.setProgram(QString::fromStdString(executable->native()));
    window.startDetached();
}

int HeadlessProgram::run() {
    if (service_.start() == DbusControlService::Start::alreadyRunning) {
        return fail(ExitCode::failed, kAlreadyRunning);
    }
    auto& permission = host_.session().permission();
    host_.session().begin();
    permission.reconcileOnLaunch([this, &permission] {
        permission.consentChanged(); // it may have been granted before the first start
        accessObservation_ = permission.state().observe([this] { sayWhatIsMissing(); });
        sayWhatIsMissing();
    });
    return QCoreApplication::exec();
}

void HeadlessProgram::sayWhatIsMissing() {
    const bool isMissing = !host_.session().permission().isGranted();
    if (std::exchange(isMissing_, isMissing) || !isMissing) return; // said before, or nothing to say
    log_.warning("Nothing is captured: audio access is not granted. Grant it with: rewindle grant");
}

void HeadlessProgram::end() {
    host_.control().shutDown([] { QCoreApplication::exit(static_cast<int>(ExitCode::done)); });
}

} // namespace rewindle
