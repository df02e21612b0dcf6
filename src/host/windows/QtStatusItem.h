#pragma once

#include "platform/StatusItem.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <functional>
#include <memory>
#include <vector>

namespace rewindle {

/// The status item on StatusNotifierItem. Nothing of it is made until a bar is there: Qt looks for one at the first
/// use, and would remember for good that there was none.
///
/// Threads:   interface thread.
/// Lifecycle: make it after the QApplication.
class QtStatusItem final : public QObject, public StatusItem {
    Q_OBJECT

public:
    /// `bus` is the session bus, on which the bar is looked for; Qt registers there, too.
    explicit QtStatusItem(QDBusConnection bus);
    ~QtStatusItem() override;

    void install(const StatusItemAppearance& appearance, std::vector<StatusMenuItem> menu,
                 std::function<void(StatusItemClick)> onClick) override;
    void popUpMenu(double pointsBelow) override;
    [[nodiscard]] bool isShown() const override;

private:
    Q_SLOT void askForHost();
    void onWatcherGone();
    void setHostPresent(bool present);
    void createIcon();
    void onActivated(QSystemTrayIcon::ActivationReason reason);

    QDBusConnection bus_;
    QDBusServiceWatcher watcher_;
    StatusItemAppearance appearance_;
    std::function<void(StatusItemClick)> onClick_;
    QMenu menu_;      // shown by the bar
    QMenu popUpMenu_; // the same items, shown by us
    std::unique_ptr<QSystemTrayIcon> icon_;
    bool isHostPresent_ = false;
    bool isSupported_ = false; // by Qt, on this kind of display
    unsigned asked_ = 0;       // answers to earlier questions are void
};

} // namespace rewindle
