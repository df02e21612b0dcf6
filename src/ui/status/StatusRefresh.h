#pragma once

#include "app/CaptureControl.h"

#include <QTimer>
#include <QWidget>

#include <functional>

namespace rewindle {

/// Asks for the capture status again and again, only while somebody can see it: the widget is visible, and its window
/// is neither minimised nor covered.
///
/// Threads:   interface thread.
/// Lifecycle: a child of the widget; replies that come after its end do nothing.
class StatusRefresh final : public QObject {
public:
    using Listener = std::function<void(const CaptureStatus&)>;
    /// Requires: `control` outlives this.
    StatusRefresh(QWidget& widget, CaptureControl& control, int intervalMs, Listener listener);

    /// Asks once, now, unless nobody looks.
    void refresh();
    /// Whether other windows hide this one, as far as is known. At first they do not.
    void setCovered(bool isCovered);
    [[nodiscard]] bool isActive() const { return timer_.isActive(); }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void followVisibility();
    [[nodiscard]] bool isSeen() const;

    QWidget& widget_;
    QWidget* window_ = nullptr; // the one that is watched for being minimised
    CaptureControl& control_;
    Listener listener_;
    QTimer timer_;
    bool isCovered_ = false;
    bool isAwaitingReply_ = false;
};

} // namespace rewindle
