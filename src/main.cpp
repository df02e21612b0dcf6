#include "app/AudioCaptureTCCProbeChild.h"
#include "app/CommandLine.h"
#include "base/Log.h"
#include "platform/desktop/DbusControlClient.h"
#include "platform/desktop/StoredConsentProbe.h"
#include "program/HeadlessProgram.h"
#include "program/Messages.h"

#include <QCoreApplication>

#include <cstdlib>
#include <string_view>
#include <vector>

namespace rewindle {
namespace {

const char* logLevel() {
    return std::getenv("REWINDLE_LOG"); // NOLINT(concurrency-mt-unsafe): nothing here writes the environment
}

/// What Qt has to say (that the locale is not UTF-8, say) is for developers.
void logQtMessage(QtMsgType, const QMessageLogContext&, const QString& text) {
    StderrLogSink sink(logLevel());
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

/// Carries out what was asked. Qt is started only for what needs it.
struct Runner {
    char** argv;
    LogSink& log;

    int operator()(const WindowCommand&) const {
        return fail(ExitCode::usage, "nothing to do: try --headless, which captures, or --help");
    }
    int operator()(const ControlCommand& command) const {
        const auto outcome =
            withoutDisplay(argv, [&] { return DbusControlClient(QDBusConnection::sessionBus()).run(command); });
        if (outcome.exitCode != ExitCode::done) return fail(outcome.exitCode, outcome.error);
        return print(outcome.output);
    }
    int operator()(const HeadlessCommand& command) const {
        return withoutDisplay(argv, [&] { return HeadlessProgram(log, command.duration).run(); });
    }
    int operator()(const ConsentCommand& command) const {
        const auto stored = withoutDisplay(argv, [&] { return storedConsent(log)->store(command.granted); });
        return stored ? static_cast<int>(ExitCode::done) : fail(ExitCode::failed, stored.error().message);
    }
    int operator()(const HelpCommand&) const { return print(helpText()); }
    int operator()(const VersionCommand&) const { return print("rewindle " REWINDLE_VERSION "\n"); }
    int operator()(const UsageError& error) const { return fail(ExitCode::usage, error.message); }
};

} // namespace
} // namespace rewindle

// NOLINTNEXTLINE(bugprone-exception-escape): only memory can run out, and then there is no way on
int main(int argc, char** argv) {
    using namespace rewindle;
    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    StderrLogSink log(logLevel());
    qInstallMessageHandler(logQtMessage);
    AudioCaptureTCCProbeChild::exitIfProbeInvocation(arguments, [&] { return storedConsent(log); });
    return std::visit(Runner{argv, log}, parseCommandLine(arguments));
}
