#pragma once

#include "host/windows/X11WindowStack.h"
#include "platform/AnimatedWindow.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <array>
#include <cstdint>

namespace rewindle {

/// A top-level widget as its frame clock sees it. On X11 it knows the windows in front; a Wayland compositor tells only
/// whether the window is exposed.
///
/// Threads:   interface thread.
/// Lifecycle: the widget outlives this.
class QtAnimatedWindow final : public QObject, public AnimatedWindow {
    Q_OBJECT

public:
    explicit QtAnimatedWindow(QWidget& topLevel);
    ~QtAnimatedWindow() override;

    [[nodiscard]] bool isKey() const override;
    [[nodiscard]] bool isMiniaturized() const override { return widget_.isMinimized(); }
    [[nodiscard]] bool isOnScreen() const override { return sight_.isOnScreen; }
    [[nodiscard]] bool isOcclusionVisible() const override { return sight_.isOcclusionVisible; }
    /// On X11 in device pixels with the borders, like those in front; elsewhere the widget alone.
    [[nodiscard]] Rect frame() const override;
    [[nodiscard]] std::vector<CoveringWindow> windowsAbove() const override { return view_.above; }
    [[nodiscard]] bool hasContentView() const override { return handle_ != nullptr; }
    [[nodiscard]] std::unique_ptr<DisplayLink> makeDisplayLink(std::optional<FrameRateRange> range,
                                                               std::function<void()> onFrame) override;
    [[nodiscard]] Observation observe(WindowNotification notification, std::function<void()> handler) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    /// What does not depend on the keyboard.
    struct Sight {
        bool isExposed = false; // as Qt has it
        bool isOnScreen = false;
        bool isOcclusionVisible = false;
        bool isMiniaturized = false;
        friend bool operator==(const Sight&, const Sight&) = default;
    };

    void watchHandle();
    void update();
    [[nodiscard]] Sight look();
    void focusMoved();
    void announce(WindowNotification notification);

    QWidget& widget_;
    std::unique_ptr<X11WindowStack> stack_; // null elsewhere
    QPointer<QWindow> handle_;
    QTimer soon_; // runs until Qt has carried out what it was just told
    Sight sight_;
    bool wasKey_ = false;
    X11WindowStack::View view_; // as of the last look; looked at anew whenever it may have changed
    std::array<Observable<std::uint64_t>, 3> changes_;
};

} // namespace rewindle
