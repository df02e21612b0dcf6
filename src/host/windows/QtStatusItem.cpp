#include "host/windows/QtStatusItem.h"

#include "host/windows/ProgramIcon.h"

#include <QAction>
#include <QCursor>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <QKeySequence>

#include <utility>

namespace rewindle {
namespace {

const auto kWatcherName = QStringLiteral("org.kde.StatusNotifierWatcher");
const auto kWatcherPath = QStringLiteral("/StatusNotifierWatcher");

/// The keys are those of a menu, with the Command modifier.
QKeySequence shortcut(const std::string& keyEquivalent) {
    return keyEquivalent.empty() ? QKeySequence()
                                 : QKeySequence(QStringLiteral("Ctrl+") + QString::fromStdString(keyEquivalent));
}

void fill(QMenu& menu, const std::vector<StatusMenuItem>& items) {
    for (const auto& item : items) {
        if (item.title.empty()) {
            menu.addSeparator();
            continue;
        }
        auto* const action = menu.addAction(QString::fromStdString(item.title));
        action->setShortcut(shortcut(item.keyEquivalent));
        QObject::connect(action, &QAction::triggered, &menu, [run = item.action] { run(); });
    }
}

} // namespace

QtStatusItem::QtStatusItem(QDBusConnection bus) : bus_(std::move(bus)) {}

QtStatusItem::~QtStatusItem() = default;

void QtStatusItem::install(const StatusItemAppearance& appearance, std::vector<StatusMenuItem> menu,
                           std::function<void(StatusItemClick)> onClick) {
    appearance_ = appearance;
    onClick_ = std::move(onClick);
    fill(menu_, menu);
    fill(popUpMenu_, menu);
    watcher_.setConnection(bus_);
    watcher_.addWatchedService(kWatcherName);
    connect(&watcher_, &QDBusServiceWatcher::serviceRegistered, this, &QtStatusItem::askForHost);
    connect(&watcher_, &QDBusServiceWatcher::serviceUnregistered, this, &QtStatusItem::onWatcherGone);
    for (const char* change : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
        bus_.connect(kWatcherName, kWatcherPath, kWatcherName, QString::fromLatin1(change), this, SLOT(askForHost()));
    }
    askForHost();
}

void QtStatusItem::popUpMenu(double pointsBelow) {
    // A bar of this kind does not tell where its items are; the pointer is on ours.
    const auto item = icon_ ? icon_->geometry() : QRect();
    const auto corner = item.isValid() ? item.bottomLeft() : QCursor::pos();
    popUpMenu_.popup(corner + QPoint(0, qRound(pointsBelow)));
}

bool QtStatusItem::isShown() const {
    return isHostPresent_ && icon_ && isSupported_;
}

void QtStatusItem::askForHost() {
    auto question = QDBusMessage::createMethodCall(
        kWatcherName, kWatcherPath, QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
    question.setArguments({kWatcherName, QStringLiteral("IsStatusNotifierHostRegistered")});
    question.setAutoStartService(false);
    auto* const call = new QDBusPendingCallWatcher(bus_.asyncCall(question), this);
    connect(call, &QDBusPendingCallWatcher::finished, this, [this, call, number = ++asked_] {
        call->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *call;
        if (number == asked_) setHostPresent(reply.isValid() && reply.value().variant().toBool());
    });
}

void QtStatusItem::onWatcherGone() {
    ++asked_;
    setHostPresent(false);
}

void QtStatusItem::setHostPresent(bool present) {
    isHostPresent_ = present;
    // Made once: Qt itself shows it to every bar that comes later.
    if (present && !icon_) createIcon();
}

void QtStatusItem::createIcon() {
    isSupported_ = QSystemTrayIcon::isSystemTrayAvailable();
    icon_ = std::make_unique<QSystemTrayIcon>(statusIcon());
    icon_->setToolTip(QString::fromStdString(appearance_.toolTip));
    icon_->setContextMenu(&menu_);
    connect(icon_.get(), &QSystemTrayIcon::activated, this, &QtStatusItem::onActivated);
    icon_->show();
}

void QtStatusItem::onActivated(QSystemTrayIcon::ActivationReason reason) {
    const bool right = reason == QSystemTrayIcon::Context;
    onClick_(right ? StatusItemClick::rightMouseUp : StatusItemClick::leftMouseUp);
}

} // namespace rewindle
