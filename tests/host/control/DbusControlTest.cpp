#include "host/control/DbusControlService.h"

#include "app/CommandLine.h"
#include "app/StatusText.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeCaptureControl.h"
#include "host/PrivateBus.h"
#include "host/control/DbusStatus.h"

#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QRegularExpression>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

namespace rewindle::test {
namespace {

/// How a run of the program ended.
struct Ended {
    int exitCode = -1;
    QString output;
    QString error;
};

/// A fake instance on a bus of its own, and the program as people type it.
class DbusControlTest : public testing::Test {
protected:
    DbusControlTest() {
        EXPECT_EQ(startService(), DbusControlService::Start::controllable);
        environment_ = bus_.environment();
    }
    ~DbusControlTest() override {
        service_.reset();
        control_.exports.clear(); // the replies hold the connection, too
        for (const auto& name : {serviceName_, clientName_})
            QDBusConnection::disconnectFromBus(name);
    }

    DbusControlService::Start startService() {
        service_ = std::make_unique<DbusControlService>(control_, bus_.connect(serviceName_), Log(log_, "Control"));
        return service_->start();
    }

    [[nodiscard]] QDBusPendingCall call(const char* method, const QVariantList& arguments = {}) const {
        return bus_.connect(clientName_)
            .asyncCall(methodCall(kControlBusName, kControlObjectPath, kControlInterface, method, arguments));
    }
    /// The name of the error with which the call was refused; empty when it was not.
    [[nodiscard]] QString refusal(const char* method, const QVariantList& arguments) const {
        const auto pending = call(method, arguments);
        EXPECT_TRUE(runUntil([&] { return pending.isFinished(); }));
        EXPECT_FALSE(pending.reply().errorMessage().contains(QLatin1Char('\n')));
        return pending.reply().errorName();
    }

    /// Starts a program with the words of a command line, as a shell reads them.
    std::unique_ptr<QProcess> type(const char* words, const char* program = REWINDLE_EXECUTABLE) {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment_);
        process->setWorkingDirectory(bus_.folder());
        process->start(QString::fromUtf8(program), QProcess::splitCommand(QString::fromUtf8(words)));
        return process;
    }
    static Ended ended(QProcess& process) {
        EXPECT_TRUE(runUntil([&] { return process.state() == QProcess::NotRunning; }));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    Ended run(const char* words) { return ended(*type(words)); }
    /// Starts the program, which asks for a clip.
    std::unique_ptr<QProcess> typeExport(const char* words) {
        const auto before = control_.exports.size();
        auto process = type(words);
        EXPECT_TRUE(runUntil([&] { return control_.exports.size() > before; }));
        return process;
    }
    static void expectFailure(const Ended& end, ExitCode code, const char* part) {
        EXPECT_EQ(end.exitCode, static_cast<int>(code)) << end.error.toStdString();
        EXPECT_EQ(end.output, QString());
        EXPECT_TRUE(end.error.startsWith(QLatin1String("rewindle: "))) << end.error.toStdString();
        EXPECT_TRUE(end.error.contains(QString::fromUtf8(part))) << end.error.toStdString();
        EXPECT_EQ(end.error.indexOf(QLatin1Char('\n')), end.error.size() - 1) << end.error.toStdString();
    }
    static void expectDone(const Ended& end, const QString& output = {}) {
        EXPECT_EQ(end.exitCode, 0);
        EXPECT_EQ(end.output, output);
        EXPECT_EQ(end.error, QString());
    }

    const QString serviceName_ = QStringLiteral("service");
    const QString clientName_ = QStringLiteral("client");
    PrivateBus bus_;
    QProcessEnvironment environment_;
    CapturingLogSink log_;
    FakeCaptureControl control_;
    std::unique_ptr<DbusControlService> service_;
};

TEST_F(DbusControlTest, ClientsThatWaitAtTheSameTimeEachGetTheirOwnAnswer) {
    const auto slow = typeExport("export --last 30 --folder \"my clips\"");
    const auto refused = typeExport("export --all");
    const auto quick = typeExport("export --all");
    expectDone(run("freeze")); // is not held up by them
    EXPECT_TRUE(control_.status.frozen);
    ASSERT_EQ(control_.exports.size(), 3U);
    EXPECT_EQ(control_.exports[0].seconds, 30.0);
    EXPECT_EQ(control_.exports[0].folder, (bus_.folder() + QStringLiteral("/my clips")).toStdString()); // absolute
    EXPECT_EQ(control_.exports[1].seconds, std::nullopt);
    EXPECT_TRUE(control_.exports[1].folder.empty()); // the choice is the instance's
    control_.exports[2].reply(CaptureControl::Path("/all.wav"));
    expectDone(ended(*quick), QStringLiteral("/all.wav\n"));
    control_.exports[1].reply(Error{28, "Could not write the audio file: No space left on device"});
    expectFailure(ended(*refused), ExitCode::failed, "Could not write the audio file: No space left on device\n");
    control_.exports[0].reply(CaptureControl::Path("/clips/Übung (2).wav"));
    expectDone(ended(*slow), QStringLiteral("/clips/Übung (2).wav\n"));
}

TEST_F(DbusControlTest, ExportEndsWhenTheInstanceOrTheBusVanishesInTheMiddle) {
    auto process = typeExport("export --all");
    service_.reset();
    control_.exports.clear();
    QDBusConnection::disconnectFromBus(serviceName_);
    expectFailure(ended(*process), ExitCode::failed, "ended");
    EXPECT_EQ(startService(), DbusControlService::Start::controllable);
    process = typeExport("export --all");
    bus_.stop();
    expectFailure(ended(*process), ExitCode::failed, "ended");
    EXPECT_TRUE(runUntil([&] { return log_.count("The session bus is gone") == 1; }));
}

TEST_F(DbusControlTest, StatusTellsEverythingThatTheInstanceKnows) {
    control_.status = {.running = true,
                       .frozen = true,
                       .deviceUID = "sink",
                       .deviceDescription = "Lautsprecher \"groß\"",
                       .durationSeconds = 600,
                       .retainedSeconds = 1.5,
                       .totalFrames = 1LL << 40,
                       .gainDB = -2.5F,
                       .displayDB = {-3, -4},
                       .holdDB = {-1, -2},
                       .troubles = {1, 2, 3, 1ULL << 40},
                       .lastError = "an error"};
    expectDone(run("status --json"), QString::fromUtf8(statusJson(control_.status)));
    expectDone(run("status"), QString::fromUtf8(statusText(control_.status)));
}

TEST_F(DbusControlTest, QuitIsAnsweredWhenAnotherInstanceMayStart) {
    const auto process = type("quit");
    ASSERT_TRUE(runUntil([&] { return control_.quits == 1; }));
    service_.reset();
    expectDone(ended(*process));
    EXPECT_EQ(startService(), DbusControlService::Start::controllable);
}

TEST_F(DbusControlTest, RefusesWhatNoCommandWouldSend) {
    const auto invalid = QString::fromLatin1(kControlInvalidArgumentError);
    const QString nowhere;
    for (const double seconds : {0.0, -1.0, qQNaN()})
        EXPECT_EQ(refusal("ExportLast", {seconds, nowhere}), invalid);
    EXPECT_EQ(refusal("ExportLast", {5.0, QStringLiteral("clips")}), invalid);
    EXPECT_EQ(refusal("ExportAll", {QStringLiteral("./clips")}), invalid);
    EXPECT_EQ(refusal("SetDuration", {31}), invalid);
    EXPECT_EQ(refusal("SetGain", {qQNaN()}), invalid);
    EXPECT_EQ(refusal("SetGain", {QStringLiteral("loud")}),
              QLatin1String("org.freedesktop.DBus.Error.UnknownMethod"));
    EXPECT_TRUE(control_.exports.empty());
}

TEST_F(DbusControlTest, TellsListenersOfClipsAndChanges) {
    const auto listener = type("monitor --session --dest com.rewindle.Rewindle", "gdbus");
    QByteArray heard;
    EXPECT_TRUE(runUntil([&] { // again and again: nobody can tell from when on it listens
        control_.onClipExported("/a clip.wav");
        control_.onCaptureStateChanged();
        heard += listener->readAllStandardOutput();
        return heard.contains("/com/rewindle/Rewindle: com.rewindle.Rewindle1.ClipExported ('/a clip.wav',)") &&
               heard.contains("/com/rewindle/Rewindle: com.rewindle.Rewindle1.CaptureStateChanged ()");
    })) << heard.toStdString();
    listener->kill();
    listener->waitForFinished();
}

/// Every method and signal, between the types that it takes, the last one first, and those that it gives.
std::string members(const QString& introspection) {
    static const QRegularExpression kElement(QStringLiteral(R"(<(method|signal|arg)\b([^>]*)>)"));
    const auto start = QStringLiteral("<interface name=\"%1\">").arg(QLatin1String(kControlInterface));
    QStringList found;
    for (const auto& element :
         kElement.globalMatch(introspection.section(start, 1).section(QStringLiteral("</interface>"), 0, 0))) {
        const auto attributes = element.captured(2);
        const auto of = [&](const char* key) {
            return attributes.section(QLatin1String(key) + QLatin1String("=\""), 1).section(QLatin1Char('"'), 0, 0);
        };
        if (element.captured(1) != QLatin1String("arg")) {
            found << of("name");
        } else if (of("direction") == QLatin1String("in")) {
            found.last().prepend(of("type") + QLatin1Char(' '));
        } else {
            found.last().append(QLatin1Char(' ') + of("type"));
        }
    }
    found.sort();
    return found.join(QLatin1Char('\n')).toStdString();
}

TEST_F(DbusControlTest, IsWhatTheIntrospectionFileSays) {
    QFile file(QStringLiteral(REWINDLE_INTROSPECTION_FILE));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QDBusPendingReply<QString> live =
        bus_.connect(clientName_)
            .asyncCall(
                methodCall(kControlBusName, kControlObjectPath, "org.freedesktop.DBus.Introspectable", "Introspect"));
    ASSERT_TRUE(runUntil([&] { return live.isFinished(); }));
    const auto written = members(QString::fromUtf8(file.readAll()));
    EXPECT_EQ(std::ranges::count(written, '\n'), 8) << written;
    EXPECT_EQ(members(live.value()), written);
}

TEST_F(DbusControlTest, CommandsNeverStartAnInstanceAndFindNoneWithoutABus) {
    service_.reset();
    const auto trace = bus_.folder() + QStringLiteral("/started");
    bus_.makeActivatable(QString::fromLatin1(kControlBusName), QStringLiteral("/usr/bin/touch ") + trace);
    for (const char* words : {"export --all", "status", "freeze", "duration 30", "gain 0", "quit"})
        expectFailure(run(words), ExitCode::noInstance, "no instance is running");
    EXPECT_FALSE(QFile::exists(trace));
    environment_.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent/bus"));
    environment_.insert(QStringLiteral("LC_ALL"),
                        QStringLiteral("C")); // of which nothing is said on standard error
    expectFailure(run("status"), ExitCode::noInstance, "no instance is running");
}

TEST_F(DbusControlTest, NonsenseIsRefusedWithoutAskingAnybody) {
    expectFailure(run("duration 31"), ExitCode::usage, "'31'");
    expectFailure(run("\"two\nlines\""), ExitCode::usage, "two?lines");
    EXPECT_EQ(control_.status.durationSeconds, 0);
}

TEST_F(DbusControlTest, TellsAboutItselfOnStandardOutput) {
    expectDone(run("--version"), QStringLiteral("rewindle " REWINDLE_VERSION "\n"));
    const auto help = run("--help");
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(help.output.contains(QLatin1String("rewindle export --last SECONDS")));
}

TEST_F(DbusControlTest, FullStandardOutputIsAFailure) {
    QProcess process;
    process.setProcessEnvironment(environment_);
    process.setStandardOutputFile(QStringLiteral("/dev/full"));
    process.start(QStringLiteral(REWINDLE_EXECUTABLE), {QStringLiteral("status")});
    expectFailure(ended(process), ExitCode::failed, "standard output");
}

TEST_F(DbusControlTest, TheProgramRunsWithoutABusAndSaysSoOnce) {
    service_.reset();
    expectDone(run("grant"));
    environment_.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent/bus"));
    const auto process = type("--headless");
    QByteArray said;
    EXPECT_TRUE(runUntil([&] {
        said += process->readAllStandardError();
        // The start error, of which there is one without a sound server, comes from the event loop.
        return said.contains("Session] Failed") || process->state() == QProcess::NotRunning;
    })) << said.toStdString();
    process->terminate();
    EXPECT_EQ(ended(*process).exitCode, 0);
    EXPECT_EQ(said.count("There is no session bus"), 1) << said.toStdString();
}

} // namespace
} // namespace rewindle::test
