#include "app/CommandLine.h"
#include "app/EngineCaptureControl.h"
#include "app/StatusText.h"
#include "base/Clock.h"
#include "base/Log.h"
#include "base/ThreadSerialQueue.h"
#include "capture/Rewindle.h"
#include "platform/desktop/DbusControlClient.h"
#include "platform/desktop/DbusControlService.h"
#include "platform/desktop/QtMainQueue.h"
#include "platform/desktop/TerminationSignals.h"
#include "platform/files/LockedAudioMemory.h"
#include "platform/files/PosixFileSystem.h"
#include "platform/files/SndfileWriter.h"
#include "platform/pipewire/PipeWireAudioHardware.h"
#include "platform/pipewire/PipeWireLoopQueue.h"

#include <QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <vector>

namespace rewindle {
namespace {

const char* logLevel() {
    return std::getenv("REWINDLE_LOG"); // NOLINT(concurrency-mt-unsafe): nothing here writes the environment
}

int toInt(ExitCode code) {
    return static_cast<int>(code);
}

int fail(ExitCode code, std::string_view message) {
    const auto line = "rewindle: " + oneLine(message) + "\n";
    std::fwrite(line.data(), 1, line.size(), stderr);
    return toInt(code);
}

/// A full disk behind a redirection shows itself only when the text is flushed.
int print(std::string_view text) {
    const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
    return written ? toInt(ExitCode::done) : fail(ExitCode::failed, "could not write to standard output");
}

/// What Qt has to say (that the locale is not UTF-8, say) is for developers.
void logQtMessage(QtMsgType, const QMessageLogContext&, const QString& text) {
    StderrLogSink sink(logLevel());
    Log(sink, "Qt").debug(text.toStdString());
}

/// Everything that captures without a window. The members go in the reverse order: first those who ask, then
/// the engine, the sound server, and last the queues with what the work on them may still use.
class HeadlessProgram {
public:
    HeadlessProgram(QCoreApplication& application, RecordingDuration duration)
        : application_(application), engine_(duration, 0,
                                             {.hardware = hardware_,
                                              .captureQueue = captureQueue_,
                                              .controlQueue = controlQueue_,
                                              .mainQueue = mainQueue_,
                                              .clock = clock_,
                                              .memory = memory_,
                                              .log = log_,
                                              .processIdentifier = QCoreApplication::applicationPid()}),
          control_({.engine = engine_,
                    .hardware = hardware_,
                    .controlQueue = controlQueue_,
                    .exportQueue = exportQueue_,
                    .mainQueue = mainQueue_,
                    .clips = {files_, writer_, clock_},
                    .log = Log(log_, "Headless")},
                   [this] { end(); }) {}

    int run() {
        if (service_.start() == DbusControlService::Start::alreadyRunning) {
            return fail(ExitCode::failed, "another instance is running already");
        }
        control_.start();
        return application_.exec();
    }

private:
    void end() {
        control_.shutDown([] { QCoreApplication::exit(toInt(ExitCode::done)); });
    }

    QCoreApplication& application_;
    TerminationSignals signals_{[this] { end(); }}; // before the first thread
    SystemClock clock_;
    StderrLogSink log_{logLevel()};
    LockedAudioMemory memory_{log_};
    PosixFileSystem files_;
    SndfileWriter writer_;
    QtMainQueue mainQueue_{"com.rewindle.main"};
    ThreadSerialQueue exportQueue_{"com.rewindle.export"};
    PipeWireLoopQueue captureQueue_{"com.rewindle.audio"};
    PipeWireLoopQueue controlQueue_{"com.rewindle.audio.control"};
    PipeWireAudioHardware hardware_{controlQueue_, captureQueue_, clock_, log_};
    Rewindle engine_;
    EngineCaptureControl control_;
    DbusControlService service_{control_, QDBusConnection::sessionBus(), Log(log_, "Control")};
};

/// Carries out what was asked. Qt is started only for what needs it.
struct Runner {
    char** argv;

    int operator()(const ControlCommand& command) const {
        return withApplication([&](QCoreApplication&) {
            const auto outcome = DbusControlClient(QDBusConnection::sessionBus()).run(command);
            if (outcome.exitCode != ExitCode::done) return fail(outcome.exitCode, outcome.error);
            return print(outcome.output);
        });
    }
    int operator()(const HeadlessCommand& command) const {
        return withApplication(
            [&](QCoreApplication& application) { return HeadlessProgram(application, command.duration).run(); });
    }
    int operator()(const HelpCommand&) const { return print(helpText()); }
    int operator()(const VersionCommand&) const { return print("rewindle " REWINDLE_VERSION "\n"); }
    int operator()(const UsageError& error) const { return fail(ExitCode::usage, error.message); }

    template <class Body>
    int withApplication(Body body) const {
        qInstallMessageHandler(logQtMessage);
        int nameOnly = 1; // the arguments are ours, not Qt's
        QCoreApplication application(nameOnly, argv);
        return body(application);
    }
};

} // namespace
} // namespace rewindle

// NOLINTNEXTLINE(bugprone-exception-escape): only memory can run out, and then there is no way on
int main(int argc, char** argv) {
    const std::vector<std::string_view> arguments(argv + (argc > 0 ? 1 : 0), argv + argc);
    return std::visit(rewindle::Runner{argv}, rewindle::parseCommandLine(arguments));
}
