#pragma once

#include "platform/StatusItem.h"
#include "platform/Window.h"

#include <utility>
#include <vector>

namespace rewindle::test {

/// A window on a screen of 1,000 x 700 points under a panel of 30, with a title bar of 24 and borders of 2.
class FakeWindow final : public Window {
public:
    [[nodiscard]] bool isVisible() const override { return visible; }
    [[nodiscard]] bool isMiniaturized() const override { return miniaturized; }
    [[nodiscard]] bool isFullScreen() const override { return fullScreen; }
    void deminiaturize() override { miniaturized = false; }
    void makeKeyAndOrderFront() override { visible = inFront = true; }
    void orderOut() override { visible = inFront = false; }
    void leaveFullScreen(std::function<void()> completion) override { onFullScreenLeft = std::move(completion); }
    void afterNextFrame(std::function<void()> work) override { onDrawn = std::move(work); }
    [[nodiscard]] std::optional<Rect> visibleFrame() const override { return screen; }
    [[nodiscard]] Rect frameRectForContentRect(const Rect& content) const override {
        return {content.x - 2, content.y - 24, content.width + 4, content.height + 26};
    }
    void setFrame(const Rect& to, bool animate) override {
        frame = to;
        animated = animate;
    }
    /// The window manager has done it.
    void fullScreenLeft() {
        fullScreen = false;
        std::exchange(onFullScreenLeft, nullptr)();
    }

    bool visible = false;
    bool inFront = false;
    bool miniaturized = false;
    bool fullScreen = false;
    std::optional<Rect> screen = Rect{0, 30, 1'000, 670};
    Rect frame;
    bool animated = false;
    std::function<void()> onFullScreenLeft, onDrawn;
};

class FakeApplication final : public Application {
public:
    void activateIgnoringOtherApps() override { ++activations; }
    void terminate() override { ++terminations; }

    int activations = 0;
    int terminations = 0;
};

/// A status item in a bar under the test's control.
class FakeStatusItem final : public StatusItem {
public:
    void install(const StatusItemAppearance&, std::vector<StatusMenuItem> items,
                 std::function<void(StatusItemClick)> onClick) override {
        ++installs;
        menu = std::move(items);
        click = std::move(onClick);
    }
    void popUpMenu(double pointsBelow) override { menusAt.push_back(pointsBelow); }
    [[nodiscard]] bool isShown() const override { return installs > 0; }

    int installs = 0;
    std::vector<StatusMenuItem> menu;
    std::function<void(StatusItemClick)> click;
    std::vector<double> menusAt;
};

} // namespace rewindle::test
