#include "host/windows/QtWindow.h"

#include "host/windows/DesktopTest.h"
#include "host/windows/QtApplication.h"
#include "host/windows/X11Activation.h"

#include <QAbstractNativeEventFilter>
#include <QApplication>
#include <QDialog>

#include <xcb/xcb.h>

namespace rewindle::test {
namespace {

constexpr Area kScreen{.x = 0, .y = 0, .width = 1280, .height = 800};
constexpr int kPanelHeight = 24; // of the private display

class QtWindowTest : public DesktopTest {
protected:
    QtWindowTest() {
        widget.setWindowTitle(QStringLiteral("rewindle"));
        widget.resize(500, 300);
    }

    /// The default layout as the application asks for it.
    void layOut(double contentHeight, bool animate) {
        const auto visible = window.visibleFrame().value();
        auto frame = window.frameRectForContentRect({visible.x, visible.y, visible.width, contentHeight});
        frame.x = visible.x;
        frame.y = visible.y;
        window.setFrame(frame, animate);
    }
    /// Whether the frame's top is at the panel and the content is a strip of that height.
    bool isStrip(int contentHeight) {
        const auto content = desktop.area("rewindle");
        const auto borders = widget.windowHandle()->frameMargins();
        return content.x == borders.left() && content.y == kPanelHeight + borders.top() &&
               content.width == kScreen.width && content.height == contentHeight && borders.top() > 0;
    }
    void showAndWait() {
        window.makeKeyAndOrderFront();
        EXPECT_TRUE(runUntil([&] { return desktop.keyWindow() == "rewindle"; }));
    }

    QtApplication application;
    WindowActivator activator;
    QWidget widget;
    QtWindow window{widget, activator};
};

TEST_F(QtWindowTest, FirstFrameIsFlushWithTheTopOfTheFreeArea) {
    layOut(200, true); // when nobody knows yet how wide the borders are
    showAndWait();
    EXPECT_TRUE(runUntil([&] { return isStrip(200); }));
    layOut(238, true);
    EXPECT_TRUE(runUntil([&] { return isStrip(238); }));
    widget.showMaximized();
    EXPECT_TRUE(runUntil([&] { return desktop.area("rewindle").height > 700; }));
    layOut(200, false);
    EXPECT_TRUE(runUntil([&] { return isStrip(200); }));
}

TEST_F(QtWindowTest, FrameAskedForWhileTheWindowIsOnItsWayIsTaken) {
    widget.show(); // not yet on the screen
    layOut(200, true);
    EXPECT_TRUE(runUntil([&] { return isStrip(200); }));
}

TEST_F(QtWindowTest, WhatCanWaitComesBehindTheFirstFrameAndToAWindowThatNobodySees) {
    class Painted final : public QWidget {
    public:
        explicit Painted(QWidget* parent) : QWidget(parent) { resize(500, 300); }
        bool is = false;

    protected:
        void paintEvent(QPaintEvent*) override { is = true; }
    };
    const Painted contents(&widget);
    std::vector<bool> calls; // was it drawn?
    const auto note = [&] { calls.push_back(contents.is); };
    QtWindow patient(widget, activator, std::chrono::minutes(1)); // however slow the desktop is
    widget.show();
    patient.afterNextFrame(note);
    patient.afterNextFrame(note);
    EXPECT_TRUE(runUntil([&] { return calls == std::vector{true, true}; }));
    window.orderOut();
    window.afterNextFrame(note);
    EXPECT_EQ(calls.size(), 2U);
    EXPECT_TRUE(runUntil([&] { return calls.size() == 3; }));
}

TEST_F(QtWindowTest, ComesBackFromTheTaskBar) {
    showAndWait();
    ASSERT_EQ(session().run("xdotool windowminimize " + desktop.window("rewindle")).exitCode, 0);
    EXPECT_TRUE(runUntil([&] { return window.isMiniaturized() && !desktop.isOnScreen("rewindle"); }));
    EXPECT_TRUE(window.isVisible());
    showAndWait();
    EXPECT_FALSE(window.isMiniaturized());
    ASSERT_EQ(session().run("xdotool windowminimize " + desktop.window("rewindle")).exitCode, 0);
    EXPECT_TRUE(runUntil([&] { return window.isMiniaturized(); }));
    window.orderOut();
    showAndWait();
    EXPECT_TRUE(desktop.isOnScreen("rewindle"));
}

TEST_F(QtWindowTest, TakesTheKeyboardFromTheProgramThatIsInUse) {
    int activations = 0;
    application.setBecameActiveHandler([&] { ++activations; });
    showAndWait();
    const Process other("exec xev -name other -geometry 600x400+100+200 >/dev/null");
    desktop.click("other", 50, 50); // later than anything that this process has seen
    EXPECT_TRUE(runUntil([&] { return desktop.keyWindow() == "other"; }));
    EXPECT_TRUE(runUntil([&] { return QGuiApplication::applicationState() != Qt::ApplicationActive; }));
    activations = 0;
    application.activateIgnoringOtherApps();
    showAndWait();
    EXPECT_TRUE(runUntil([&] { return activations == 1; }));
}

TEST_F(QtWindowTest, DialogThatBlocksTheWindowGetsTheKeyboard) {
    showAndWait();
    QDialog dialog(&widget);
    dialog.setWindowTitle(QStringLiteral("question"));
    dialog.open();
    desktop.window("question — rewindle");
    window.orderOut();
    window.makeKeyAndOrderFront();
    EXPECT_TRUE(runUntil([&] { return desktop.keyWindow() == "question — rewindle"; }));
}

TEST_F(QtWindowTest, TellsWhenFullScreenHasBeenLeftAndComesBackWhereItWas) {
    widget.move(200, 150);
    showAndWait();
    const auto before = desktop.area("rewindle");
    widget.showFullScreen();
    EXPECT_TRUE(runUntil([&] { return desktop.area("rewindle") == kScreen; }));
    EXPECT_TRUE(window.isFullScreen());
    int left = 0;
    for (int i = 0; i < 2; ++i) { // the second one finds it on its way
        window.leaveFullScreen([&] {
            EXPECT_EQ(widget.geometry(), QRect(before.x, before.y, before.width, before.height));
            if (++left == 2) window.orderOut();
        });
    }
    EXPECT_TRUE(runUntil([&] { return left == 2; }));
    EXPECT_FALSE(window.isFullScreen());
    showAndWait();
    EXPECT_TRUE(runUntil([&] { return desktop.area("rewindle") == before; }));
    window.leaveFullScreen([&] { ++left; });
    EXPECT_EQ(left, 3);
}

TEST_F(QtWindowTest, BelongsToTheDesktopEntry) {
    showAndWait();
    EXPECT_NE(desktop.property("rewindle", "WM_CLASS").find("\"com.rewindle.Rewindle\""), std::string::npos);
    QtApplication::showIcon();
    QApplication::processEvents();
    EXPECT_NE(desktop.property("rewindle", "_NET_WM_ICON").find("Icon"), std::string::npos);
}

/// Puts the pieces together that launchers listen for.
class StartupMessages final : public QAbstractNativeEventFilter {
public:
    StartupMessages() { QCoreApplication::instance()->installNativeEventFilter(this); }
    bool nativeEventFilter(const QByteArray&, void* message, qintptr*) override {
        const auto* const event = static_cast<xcb_client_message_event_t*>(message);
        if ((event->response_type & 0x7fU) == XCB_CLIENT_MESSAGE && event->format == 8)
            text.append(reinterpret_cast<const char*>(event->data.data8), sizeof event->data.data8);
        return false;
    }
    std::string text;
};

TEST_F(QtWindowTest, LaunchThatLedHereIsOver) {
    const QByteArray id("launcher/a \"long\" name-17_TIME4711");
    StartupMessages messages;
    activator.useToken({.xdgToken = {}, .startupId = id});
    const std::string expected(R"(remove: ID="launcher/a \"long\" name-17_TIME4711")");
    EXPECT_TRUE(runUntil([&] { return messages.text.size() > expected.size(); }));
    EXPECT_EQ(messages.text.c_str(), expected);
    EXPECT_EQ(timeOfStartupId(id), 4711U);
    EXPECT_EQ(timeOfStartupId("launcher"), 0U);
}

} // namespace
} // namespace rewindle::test
