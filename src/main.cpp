#include "app/AudioCaptureTCCProbeChild.h"
#include "app/CommandLine.h"
#include "base/Log.h"
#include "host/consent/StoredConsentProbe.h"
#include "host/control/DbusControlClient.h"
#include "host/control/InstanceClient.h"
#include "host/drawing/FontPreload.h"
#include "host/drawing/QtGpuProbe.h"
#include "host/windows/DisplayCheck.h"
#include "program/DesktopProgram.h"
#include "program/Environment.h"
#include "program/HeadlessProgram.h"
#include "program/Messages.h"
#include "ui/components/NightfallDialog.h"

#include <QApplication>

#include <string_view>
#include <vector>

namespace rewindle {
namespace {

constexpr std::string_view kHeadlessIsRunning =
    "an instance without a window is running already; end it with: rewindle quit";

/// What Qt has to say (that the locale is not UTF-8, say) is for developers.
void logQtMessage(QtMsgType, const QMessageLogContext&, const QString& text) {
    StderrLogSink sink(environmentVariable("REWINDLE_LOG"));
    Log(sink, "Qt").debug(text.toStdString());
}

/// The stored consent, for what runs without an event loop.
std::unique_ptr<StoredConsentProbe> storedConsent(LogSink& log) {
    return std::make_unique<StoredConsentProbe>(ConsentRecord(ConsentRecord::defaultFile(), Log(log, "Consent")),
                                                QDBusConnection::sessionBus());
}

/// Runs `body` with a Qt application that is over when it returns, of the kind that needs no display.
template <class Body>
auto withoutDisplay(char** argv, Body body) {
    int nameOnly = 1; // the arguments are ours, not Qt's
    const QCoreApplication application(nameOnly, argv);
    return body();
}

/// Says in a window that an instance without one is running, and waits until the user has seen it.
void showMessage(char** argv, LogSink& log) {
    QtApplication::identify();
    int nameOnly = 1;
    const QApplication application(nameOnly, argv);
    QtApplication::showIcon();
    JsonDefaultsStore defaults(JsonDefaultsStore::defaultFile(), Log(log, "Settings"));
    ThemeManager themes(defaults);
    const NightfallTheme theme(themes);
    NightfallDialog::present(
        theme,
        {.title = QStringLiteral("rewindle is running without a window"),
         .text = QStringLiteral("It keeps what it has heard. To use the window, save what you need "
                                "with \u201crewindle export\u201d, end it with \u201crewindle "
                                "quit\u201d, and start rewindle again."),
         .accept = QStringLiteral("Close"),
         .refuse = {}},
        nullptr, [](bool) { QCoreApplication::quit(); });
    QApplication::exec();
}

/// Carries out what was asked. Qt is started only for what needs it.
struct Runner {
    char** argv;
    LogSink& log;

    int operator()(const WindowCommand& command) const {
        if (const auto handedOver = handOver(command)) return *handedOver;
        if (const auto problem = displayProblem(DisplayEnvironment::ofProcess())) {
            return fail(ExitCode::failed, *problem + "; to capture without a window: rewindle --headless");
        }
        if (const auto status = runWindow(command)) return *status;
        // Another instance has started since the question above.
        return handOver(command).value_or(static_cast<int>(ExitCode::failed));
    }
    int operator()(const ControlCommand& command) const {
        const auto outcome =
            withoutDisplay(argv, [&] { return DbusControlClient(QDBusConnection::sessionBus()).run(command); });
        if (outcome.exitCode != ExitCode::done) return fail(outcome.exitCode, outcome.error);
        return print(outcome.output);
    }
    int operator()(const HeadlessCommand& command) const {
        // Before memory is taken, whose limits would be complained about.
        const auto running = askInstance([](const InstanceClient& client) { return client.find(); });
        if (running == InstanceAnswer::windowed || running == InstanceAnswer::headless) {
            return fail(ExitCode::failed, kAlreadyRunning);
        }
        if (running == InstanceAnswer::failed) return fail(ExitCode::failed, kNoAnswer);
        return withoutDisplay(argv, [&] { return HeadlessProgram(log, command.duration).run(); });
    }
    int operator()(const ConsentCommand& command) const {
        const auto stored = withoutDisplay(argv, [&] { return storedConsent(log)->store(command.granted); });
        return stored ? static_cast<int>(ExitCode::done) : fail(ExitCode::failed, stored.error().message);
    }
    int operator()(const HelpCommand&) const { return print(helpText()); }
    int operator()(const VersionCommand&) const { return print("rewindle " REWINDLE_VERSION "\n"); }
    int operator()(const UsageError& error) const { return fail(ExitCode::usage, error.message); }

    /// Runs the application to its end and returns the exit status; none when another instance has the name.
    [[nodiscard]] std::optional<int> runWindow(const WindowCommand& command) const {
        const FontPreload fonts;
        QtApplication::identify();
        int nameOnly = 1;
        const QApplication application(nameOnly, argv);
        DesktopProgram program(log);
        if (program.start() == DesktopProgram::Start::alreadyRunning) return std::nullopt;
        return program.run(command.hidden);
    }

    template <class Question>
    [[nodiscard]] InstanceAnswer askInstance(Question question) const {
        return withoutDisplay(argv, [&] {
            // A connection of its own: the shared one would deliver nothing more once this application object is gone.
            const auto name = QStringLiteral("handover");
            const InstanceClient client(QDBusConnection::connectToBus(QDBusConnection::SessionBus, name));
            const auto found = question(client);
            QDBusConnection::disconnectFromBus(name);
            return found;
        });
    }

    /// What to exit with when an instance runs already; none when this one has to do the work.
    [[nodiscard]] std::optional<int> handOver(const WindowCommand& command) const {
        const auto answer = askInstance([&](const InstanceClient& client) {
            return command.hidden ? client.find() : client.activate(ActivationToken::fromEnvironment());
        });
        switch (answer) {
        case InstanceAnswer::shown:
        case InstanceAnswer::windowed: return static_cast<int>(ExitCode::done);
        case InstanceAnswer::headless: return refuseBesideHeadless(command);
        case InstanceAnswer::failed: return fail(ExitCode::failed, kNoAnswer);
        case InstanceAnswer::noInstance:
        case InstanceAnswer::noBus: break;
        }
        return std::nullopt;
    }

    /// Ending the other instance here would throw away what it holds.
    [[nodiscard]] int refuseBesideHeadless(const WindowCommand& command) const {
        const int status = fail(ExitCode::failed, kHeadlessIsRunning);
        if (!command.hidden && !displayProblem(DisplayEnvironment::ofProcess())) showMessage(argv, log);
        return status;
    }
};

} // namespace
} // namespace rewindle

// NOLINTNEXTLINE(bugprone-exception-escape): only memory can run out, and then there is no way on
int main(int argc, char** argv) {
    using namespace rewindle;
    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (arguments.size() == 1 && arguments[0] == kGpuProbeArgument) return runGpuProbe();
    StderrLogSink log(environmentVariable("REWINDLE_LOG"));
    qInstallMessageHandler(logQtMessage);
    AudioCaptureTCCProbeChild::exitIfProbeInvocation(arguments, [&] { return storedConsent(log); });
    return std::visit(Runner{argv, log}, parseCommandLine(arguments));
}
