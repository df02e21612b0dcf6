#include "host/control/DbusControlService.h"

#include "app/CommandLine.h"
#include "app/StatusText.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeCaptureControl.h"
#include "host/PrivateBus.h"
#include "host/control/ControlSignalListener.h"
#include "host/control/DbusStatus.h"

#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QXmlStreamReader>

#include <gtest/gtest.h>

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

    /// Starts the program with the words of a command line.
    std::unique_ptr<QProcess> type(const QStringList& words) {
        auto process = std::make_unique<QProcess>();
        process->setProcessEnvironment(environment_);
        process->setWorkingDirectory(bus_.folder());
        process->start(QStringLiteral(REWINDLE_EXECUTABLE), words);
        return process;
    }
    static Ended ended(QProcess& process) {
        EXPECT_TRUE(runUntil([&] { return process.state() == QProcess::NotRunning; }));
        EXPECT_EQ(process.exitStatus(), QProcess::NormalExit);
        return {process.exitCode(), QString::fromUtf8(process.readAllStandardOutput()),
                QString::fromUtf8(process.readAllStandardError())};
    }
    std::unique_ptr<QProcess> type(const char* words) {
        return type(QString::fromUtf8(words).split(QLatin1Char(' ')));
    }
    template <class Words>
    Ended run(const Words& words) {
        return ended(*type(words));
    }
    /// Starts the program, which asks for a clip.
    template <class Words>
    std::unique_ptr<QProcess> typeExport(const Words& words) {
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

TEST_F(DbusControlTest, CommandsReachTheOnlyInstanceAndSayNothingWhenDone) {
    expectDone(run("freeze"));
    EXPECT_TRUE(control_.status.frozen);
    expectDone(run("unfreeze"));
    EXPECT_FALSE(control_.status.frozen);
    expectDone(run("duration 45"));
    EXPECT_EQ(control_.status.durationSeconds, 45);
    expectDone(run("gain -6"));
    EXPECT_EQ(control_.status.gainDb, -6.0F);
    expectFailure(run("--headless"), ExitCode::failed, "running already");
}

TEST_F(DbusControlTest, ExportWaitsForTheClipAndPrintsItsPath) {
    const auto process = typeExport(QStringLiteral("export,--last,30,--folder,my clips").split(QLatin1Char(',')));
    const auto asked = control_.exports.at(0);
    EXPECT_EQ(asked.seconds, 30.0);
    EXPECT_EQ(asked.folder,
              (bus_.folder() + QStringLiteral("/my clips")).toStdString()); // absolute, by the caller
    EXPECT_EQ(process->state(), QProcess::Running);
    asked.reply(CaptureControl::Path("/clips/Übung (2).wav"));
    expectDone(ended(*process), QStringLiteral("/clips/Übung (2).wav\n"));
}

TEST_F(DbusControlTest, ExportWithoutFolderLeavesTheChoiceToTheInstance) {
    const auto process = typeExport("export --all");
    EXPECT_EQ(control_.exports.at(0).seconds, std::nullopt);
    EXPECT_TRUE(control_.exports[0].folder.empty());
    control_.exports[0].reply(Error{28, "Could not write the audio file: No space left on device"});
    expectFailure(ended(*process), ExitCode::failed, "Could not write the audio file: No space left on device\n");
}

TEST_F(DbusControlTest, ClientsThatWaitAtTheSameTimeEachGetTheirOwnAnswer) {
    const auto slow = typeExport("export --last 10");
    const auto quick = typeExport("export --last 20");
    expectDone(run("freeze")); // is not held up by them
    control_.exports.at(1).reply(CaptureControl::Path("/20.wav"));
    expectDone(ended(*quick), QStringLiteral("/20.wav\n"));
    control_.exports[0].reply(CaptureControl::Path("/10.wav"));
    expectDone(ended(*slow), QStringLiteral("/10.wav\n"));
}

TEST_F(DbusControlTest, ExportEndsWhenTheInstanceVanishesInTheMiddle) {
    const auto process = typeExport("export --all");
    service_.reset();
    control_.exports.clear();
    QDBusConnection::disconnectFromBus(serviceName_);
    expectFailure(ended(*process), ExitCode::failed, "ended");
}

TEST_F(DbusControlTest, ExportEndsWhenTheBusVanishesInTheMiddle) {
    const auto process = typeExport("export --all");
    bus_.stop();
    expectFailure(ended(*process), ExitCode::failed, "ended");
    EXPECT_TRUE(runUntil([&] { return log_.count("The session bus is gone") == 1; }));
}

TEST_F(DbusControlTest, StatusTellsEverythingThatTheInstanceKnows) {
    control_.status = {.running = true,
                       .frozen = true,
                       .deviceUid = "sink",
                       .deviceDescription = "Lautsprecher \"groß\"",
                       .durationSeconds = 600,
                       .retainedSeconds = 1.5,
                       .totalFrames = 1LL << 40,
                       .gainDb = -2.5F,
                       .displayDb = {-3, -4},
                       .holdDb = {-1, -2},
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
    EXPECT_EQ(refusal("ExportLast", {0.0, nowhere}), invalid);
    EXPECT_EQ(refusal("ExportLast", {-1.0, nowhere}), invalid);
    EXPECT_EQ(refusal("ExportLast", {qQNaN(), nowhere}), invalid);
    EXPECT_EQ(refusal("ExportLast", {5.0, QStringLiteral("clips")}), invalid);
    EXPECT_EQ(refusal("ExportAll", {QStringLiteral("./clips")}), invalid);
    EXPECT_EQ(refusal("SetDuration", {31}), invalid);
    EXPECT_EQ(refusal("SetGain", {qQNaN()}), invalid);
    EXPECT_EQ(refusal("SetGain", {QStringLiteral("loud")}),
              QLatin1String("org.freedesktop.DBus.Error.UnknownMethod"));
    EXPECT_TRUE(control_.exports.empty());
}

TEST_F(DbusControlTest, TellsListenersOfClipsAndChanges) {
    ControlSignalListener listener;
    auto client = bus_.connect(clientName_);
    const auto path = QString::fromLatin1(kControlObjectPath);
    const auto interface = QString::fromLatin1(kControlInterface);
    client.connect({}, path, interface, QStringLiteral("ClipExported"), &listener, SLOT(onClip(QString)));
    client.connect({}, path, interface, QStringLiteral("CaptureStateChanged"), &listener, SLOT(onChange()));
    control_.onClipExported("/a clip.wav");
    control_.onCaptureStateChanged();
    EXPECT_TRUE(runUntil([&] { return listener.changes == 1; }));
    EXPECT_EQ(listener.clips, QStringList{QStringLiteral("/a clip.wav")});
}

/// Every method and signal as "Name(in)->out", by the letters that the bus uses.
QStringList members(const QByteArray& introspection) {
    QStringList found;
    QString name;
    QString in;
    QString out;
    bool ours = false;
    QXmlStreamReader xml(introspection);
    while (!xml.atEnd()) {
        xml.readNext();
        const auto element = xml.name();
        const auto attribute = [&](const char* key) { return xml.attributes().value(QLatin1String(key)).toString(); };
        const bool member = element == QLatin1String("method") || element == QLatin1String("signal");
        if (xml.isStartElement() && element == QLatin1String("interface")) {
            ours = attribute("name") == QLatin1String(kControlInterface);
        } else if (xml.isStartElement() && member) {
            name = attribute("name");
            in.clear();
            out.clear();
        } else if (xml.isStartElement() && element == QLatin1String("arg")) {
            (attribute("direction") == QLatin1String("in") ? in : out) += attribute("type");
        } else if (xml.isEndElement() && member && ours) {
            found.append(name + QLatin1Char('(') + in + QLatin1String(")->") + out);
        }
    }
    found.sort();
    return found;
}

TEST_F(DbusControlTest, IsWhatTheIntrospectionFileSays) {
    QFile file(QStringLiteral(REWINDLE_INTROSPECTION_FILE));
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QDBusPendingReply<QString> live =
        bus_.connect(clientName_)
            .asyncCall(
                methodCall(kControlBusName, kControlObjectPath, "org.freedesktop.DBus.Introspectable", "Introspect"));
    ASSERT_TRUE(runUntil([&] { return live.isFinished(); }));
    const auto written = members(file.readAll());
    EXPECT_EQ(written.size(), 9) << written.join(QLatin1Char(' ')).toStdString();
    EXPECT_EQ(members(live.value().toUtf8()), written);
}

TEST_F(DbusControlTest, CommandsNeverStartAnInstance) {
    service_.reset();
    const auto trace = bus_.folder() + QStringLiteral("/started");
    bus_.makeActivatable(QString::fromLatin1(kControlBusName), QStringLiteral("/usr/bin/touch ") + trace);
    for (const char* words : {"export --all", "status", "freeze", "duration 30", "gain 0", "quit"}) {
        expectFailure(run(words), ExitCode::noInstance, "no instance is running");
    }
    EXPECT_FALSE(QFile::exists(trace));
}

TEST_F(DbusControlTest, CommandsWithoutABusFindNoInstance) {
    environment_.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent/bus"));
    environment_.insert(QStringLiteral("LC_ALL"),
                        QStringLiteral("C")); // of which nothing is said on standard error
    expectFailure(run("status"), ExitCode::noInstance, "no instance is running");
}

TEST_F(DbusControlTest, NonsenseIsRefusedWithoutAskingAnybody) {
    for (const char* words : {"duration 31", "gain loud", "export", "export --last 0", "bounce", "--headless now"}) {
        expectFailure(run(words), ExitCode::usage, "");
    }
    expectFailure(run(QStringList{QStringLiteral("two\nlines")}), ExitCode::usage, "two?lines");
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
