#pragma once

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

#include <functional>

namespace rewindle::test {

/// Runs the event loop until `done`. False when that did not come true in a time that is never needed.
inline bool runUntil(const std::function<bool()>& done) {
    const QDeadlineTimer limit(30'000);
    QTimer tick; // bounds how late a change is seen that comes without an event
    tick.start(20);
    while (!done()) {
        if (limit.hasExpired()) return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
    return true;
}

inline QDBusMessage methodCall(const char* service, const char* path, const char* interface, const char* method,
                               const QVariantList& arguments = {}) {
    auto message = QDBusMessage::createMethodCall(QString::fromLatin1(service), QString::fromLatin1(path),
                                                  QString::fromLatin1(interface), QString::fromLatin1(method));
    message.setArguments(arguments);
    return message;
}

/// A message bus of its own for one test, with everything it needs in a folder of its own.
class PrivateBus {
public:
    PrivateBus() {
        daemon_.setProcessEnvironment(environment());
        daemon_.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        daemon_.start(QStringLiteral("dbus-daemon"),
                      {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                       QStringLiteral("--print-address"), QStringLiteral("--address=") + address()});
        // It prints the address when it listens.
        EXPECT_TRUE(daemon_.waitForReadyRead()) << daemon_.errorString().toStdString();
    }
    ~PrivateBus() { stop(); }
    PrivateBus(const PrivateBus&) = delete;
    PrivateBus& operator=(const PrivateBus&) = delete;

    void stop() {
        if (daemon_.state() == QProcess::NotRunning) return;
        daemon_.terminate();
        daemon_.waitForFinished();
    }
    [[nodiscard]] QString folder() const { return folder_.path(); }
    /// From now on the bus could start this program when somebody asks for the name.
    void makeActivatable(const QString& name, const QString& commandLine) const {
        QFile file(folder() + QStringLiteral("/dbus-1/services/") + name + QStringLiteral(".service"));
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)); // the bus has made the folder
        file.write("[D-BUS Service]\nName=" + name.toUtf8() + "\nExec=" + commandLine.toUtf8() + "\n");
        file.close();
        auto bus = connect(QStringLiteral("reload"));
        bus.call(methodCall("org.freedesktop.DBus", "/", "org.freedesktop.DBus", "ReloadConfig"));
        EXPECT_TRUE(bus.interface()->activatableServiceNames().value().contains(name));
        QDBusConnection::disconnectFromBus(QStringLiteral("reload"));
    }
    [[nodiscard]] QString address() const {
        return QStringLiteral("unix:path=") + folder_.filePath(QStringLiteral("bus"));
    }
    [[nodiscard]] QDBusConnection connect(const QString& name) const {
        return QDBusConnection::connectToBus(address(), name);
    }
    /// The environment of a user whose session has this bus and nothing else.
    [[nodiscard]] QProcessEnvironment environment() const {
        auto variables = QProcessEnvironment::systemEnvironment();
        variables.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address());
        for (const char* own : {"XDG_RUNTIME_DIR", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "HOME"}) {
            variables.insert(QString::fromLatin1(own), folder());
        }
        return variables;
    }

private:
    QTemporaryDir folder_;
    QProcess daemon_;
};

} // namespace rewindle::test
