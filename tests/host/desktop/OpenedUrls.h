#pragma once

#include <QDBusConnection>
#include <QDesktopServices>
#include <QObject>
#include <QStringList>
#include <QUrl>

namespace rewindle::test {

/// Takes what would be opened in other programs.
class OpenedUrls final : public QObject {
    Q_OBJECT

public:
    OpenedUrls() { QDesktopServices::setUrlHandler(QStringLiteral("file"), this, "open"); }
    ~OpenedUrls() override { QDesktopServices::unsetUrlHandler(QStringLiteral("file")); }
    Q_SLOT void open(const QUrl& url) { urls.append(url.toString()); }

    QStringList urls;
};

/// A file manager on the session bus.
class FileManager final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

public:
    FileManager() {
        auto bus = QDBusConnection::sessionBus();
        bus.registerObject(QStringLiteral("/org/freedesktop/FileManager1"), this,
                           QDBusConnection::ExportScriptableSlots);
        bus.registerService(QStringLiteral("org.freedesktop.FileManager1"));
    }
    ~FileManager() override {
        QDBusConnection::sessionBus().unregisterService(QStringLiteral("org.freedesktop.FileManager1"));
    }
    Q_SLOT Q_SCRIPTABLE void ShowItems(const QStringList& uris, const QString&) { shown += uris; }

    QStringList shown;
};

} // namespace rewindle::test
