// A status bar without a picture, for tests and demonstrations.
//
//   status-bar serve           is there until it is ended: keeps the list of items and counts as showing them
//   status-bar watch           keeps the list only; nothing shows the items yet
//   status-bar show            shows what is on the list that another one keeps
//   status-bar items           prints id and tool tip of every item
//   status-bar activate        left click on the only item
//   status-bar menu            prints the labels of its menu, "-" for a separator
//   status-bar choose LABEL    clicks an entry of its menu

#include "statusbar/StatusNotifierWatcher.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QVector>

#include <cstdio>
#include <stdexcept>

namespace {

using rewindle::support::StatusNotifierWatcher;

const auto kWatcher = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto kWatcherPath = QStringLiteral("/StatusNotifierWatcher");
const auto kItem = QStringLiteral("org.kde.StatusNotifierItem");
const auto kItemPath = QStringLiteral("/StatusNotifierItem");
const auto kMenu = QStringLiteral("com.canonical.dbusmenu");

QVariantList call(const QString& service, const QString& path, const QString& interface, const char* method,
                  const QVariantList& arguments) {
    auto message = QDBusMessage::createMethodCall(service, path, interface, QString::fromLatin1(method));
    message.setArguments(arguments);
    message.setAutoStartService(false);
    const auto reply = QDBusConnection::sessionBus().call(message, QDBus::Block, 5'000);
    if (reply.type() != QDBusMessage::ReplyMessage) throw std::runtime_error(reply.errorMessage().toStdString());
    return reply.arguments();
}

QVariant property(const QString& service, const QString& path, const QString& interface, const char* name) {
    const auto reply = call(service, path, QStringLiteral("org.freedesktop.DBus.Properties"), "Get",
                            {interface, QString::fromLatin1(name)});
    return reply.value(0).value<QDBusVariant>().variant();
}

QStringList items() {
    return property(kWatcher, kWatcherPath, kWatcher, "RegisteredStatusNotifierItems").toStringList();
}

QString onlyItem() {
    const auto all = items();
    if (all.size() != 1) throw std::runtime_error("there is not exactly one status item");
    return all.constFirst();
}

/// The tool tip of an item: (icon name, pictures, title, text).
QString toolTip(const QString& item) {
    const auto value = property(item, kItemPath, kItem, "ToolTip").value<QDBusArgument>();
    QString icon;
    QString title;
    value.beginStructure();
    value >> icon;
    value.beginArray();
    while (!value.atEnd()) { // pictures: (width, height, bytes)
        int width = 0;
        int height = 0;
        QByteArray bytes;
        value.beginStructure();
        value >> width >> height >> bytes;
        value.endStructure();
    }
    value.endArray();
    value >> title;
    return title;
}

struct MenuEntry {
    int id = 0;
    QString label;
};

MenuEntry toEntry(const QDBusArgument& value) {
    MenuEntry entry;
    QVariantMap properties;
    value.beginStructure();
    value >> entry.id >> properties;
    value.endStructure();
    const bool separator = properties.value(QStringLiteral("type")).toString() == QLatin1String("separator");
    entry.label = separator ? QStringLiteral("-") : properties.value(QStringLiteral("label")).toString();
    return entry;
}

QString menuPath(const QString& item) {
    return property(item, kItemPath, kItem, "Menu").value<QDBusObjectPath>().path();
}

/// The entries below the root of the item's menu.
QVector<MenuEntry> menuOf(const QString& item) {
    call(item, menuPath(item), kMenu, "AboutToShow", {0});
    const auto reply = call(item, menuPath(item), kMenu, "GetLayout", {0, -1, QStringList()});
    const auto root = reply.value(1).value<QDBusArgument>();
    int id = 0;
    QVariantMap properties;
    QVector<MenuEntry> entries;
    root.beginStructure();
    root >> id >> properties;
    root.beginArray();
    while (!root.atEnd()) {
        QDBusVariant child;
        root >> child;
        entries.append(toEntry(child.variant().value<QDBusArgument>()));
    }
    return entries;
}

void choose(const QString& label) {
    const auto item = onlyItem();
    for (const auto& entry : menuOf(item)) {
        if (entry.label != label) continue;
        call(item, menuPath(item), kMenu, "Event",
             {entry.id, QStringLiteral("clicked"), QVariant::fromValue(QDBusVariant(QString())), 0U});
        return;
    }
    throw std::runtime_error("the menu has no such entry");
}

void print(const QString& line) {
    std::printf("%s\n", line.toUtf8().constData());
}

int keepList(QCoreApplication& application, bool shows) {
    StatusNotifierWatcher watcher;
    if (shows) watcher.RegisterStatusNotifierHost(QDBusConnection::sessionBus().baseService());
    if (!watcher.start()) throw std::runtime_error("there is a status bar already");
    return application.exec();
}

int run(QCoreApplication& application, const QString& verb, const QString& argument) {
    if (verb == QLatin1String("serve")) return keepList(application, true);
    if (verb == QLatin1String("watch")) return keepList(application, false);
    if (verb == QLatin1String("show")) {
        call(kWatcher, kWatcherPath, kWatcher, "RegisterStatusNotifierHost",
             {QDBusConnection::sessionBus().baseService()});
        return application.exec();
    }
    if (verb == QLatin1String("items")) {
        for (const auto& item : items())
            print(property(item, kItemPath, kItem, "Id").toString() + QLatin1Char(' ') + toolTip(item));
    } else if (verb == QLatin1String("activate")) {
        call(onlyItem(), kItemPath, kItem, "Activate", {0, 0});
    } else if (verb == QLatin1String("menu")) {
        for (const auto& entry : menuOf(onlyItem()))
            print(entry.label);
    } else if (verb == QLatin1String("choose")) {
        choose(argument);
    } else {
        throw std::runtime_error("usage: status-bar serve|watch|show|items|activate|menu|choose LABEL");
    }
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const auto words = QCoreApplication::arguments();
    try {
        return run(application, words.value(1), words.value(2));
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "status-bar: %s\n", failure.what());
        return 1;
    }
}
