#pragma once

#include "platform/DefaultsStore.h"

#include <QObject>
#include <QTimer>
#include <QWidget>

#include <string>

namespace rewindle {

/// Remembers place and size of a window from one run to the next.
///
/// Threads:   interface thread.
/// Lifecycle: the window and the store outlive this.
class WindowGeometry final : public QObject {
public:
    /// Puts the window where it was, when that is known. Requires: not shown yet.
    WindowGeometry(QWidget& window, DefaultsStore& defaults, std::string key);
    ~WindowGeometry() override;
    /// False when nothing is known, or nothing that fits the screen of today.
    [[nodiscard]] bool isRestored() const { return isRestored_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void save();

    QWidget& window_;
    DefaultsStore& defaults_;
    const std::string key_;
    bool isRestored_ = false;
    QTimer settled_; // a drag is over
};

} // namespace rewindle
