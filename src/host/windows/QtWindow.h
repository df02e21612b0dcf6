#pragma once

#include "host/windows/WindowActivator.h"
#include "platform/Window.h"

#include <QMargins>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QTimer>
#include <QVariantAnimation>
#include <QWidget>
#include <QWindow>

#include <chrono>
#include <functional>
#include <optional>
#include <vector>

namespace rewindle {

/// A top-level widget as the application's logic sees it.
///
/// The window manager alone knows the borders of a window, and only once it has shown it. Until then
/// `frameRectForContentRect` gives the content, and `setFrame` takes the size of the content; when the window
/// appears, its borders go around that size, with the frame's corner where it was asked for.
///
/// Threads:   interface thread.
/// Lifecycle: the widget and the activator outlive this.
class QtWindow final : public QObject, public Window {
    Q_OBJECT

public:
    /// What waits for a frame waits for at most `frameLimit`: many times what a window takes to appear on a desktop
    /// that is not busy.
    QtWindow(QWidget& widget, WindowActivator& activator,
             std::chrono::milliseconds frameLimit = std::chrono::milliseconds(250));

    [[nodiscard]] bool isVisible() const override;
    [[nodiscard]] bool isMiniaturized() const override;
    [[nodiscard]] bool isFullScreen() const override;
    void deminiaturize() override;
    void makeKeyAndOrderFront() override;
    void orderOut() override;
    void leaveFullScreen(std::function<void()> completion) override;
    void afterNextFrame(std::function<void()> work) override;
    [[nodiscard]] std::optional<Rect> visibleFrame() const override;
    [[nodiscard]] Rect frameRectForContentRect(const Rect& content) const override;
    void setFrame(const Rect& frame, bool animate) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    struct PendingFrame {
        QRect content; // the content's size, at the frame's corner
        bool animate = false;
        bool isApplied = false; // as well as it could be before the window was shown
    };

    void watchHandle();
    void leaveState(Qt::WindowState state);
    void onSettled();
    void onDrawn();
    [[nodiscard]] QMargins borders() const;
    [[nodiscard]] QRect currentFrame() const;
    void moveFrame(const QRect& frame, bool animate);
    void finishAnimation();
    void applyFrame(const QRect& frame);

    QWidget& widget_;
    WindowActivator& activator_;
    const std::chrono::milliseconds frameLimit_;
    std::vector<std::function<void()>> onLeftFullScreen_; // not empty: on the way out of full screen
    std::vector<std::function<void()>> onDrawn_;
    QTimer drawing_;  // active while somebody waits for a frame
    QTimer settling_; // active until the desktop has carried out a change
    QVariantAnimation animation_;
    std::optional<PendingFrame> pendingFrame_; // waits for the window to have the borders that it will have
    QPointer<QWindow> handle_;                 // the one that is watched
    bool isMapped_ = false;                    // on the screen, or miniaturised
    bool wasMapped_ = false;                   // at least once, so that the borders are known
};

} // namespace rewindle
