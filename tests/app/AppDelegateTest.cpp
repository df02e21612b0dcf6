#include "app/AppDelegate.h"
#include "app/SessionFixture.h"
#include "fakes/FakeWindow.h"

namespace rewindle::test {
namespace {

class AppDelegateTest : public SessionFixture {
protected:
    AppDelegateTest() {
        presentation.openWindow = [this] {
            ++opened;
            window.makeKeyAndOrderFront();
            hosting.setMainWindow(&window);
        };
    }
    void launch(bool hidden = false) {
        delegate.finishedLaunching(hidden);
        if (!hidden) window.onDrawn();
        settle();
    }

    FakeApplication application;
    FakeStatusItem statusItem;
    FakeWindow window;
    int opened = 0;
    MainWindowPresentation presentation;
    MainWindowHosting hosting{application, presentation, defaults, (makeSession(), session->settingsManager())};
    MenuBarController menuBar{statusItem,
                              {.showMainWindow = [this] { hosting.show(); }, .quitApp = [this] { delegate.quit(); }}};
    AppDelegate delegate{{*session, menuBar, hosting, application, queues.main}};
};

TEST_F(AppDelegateTest, LaunchShowsTheWindowAndThenCapturesUntilConsentIsFoundWithdrawn) {
    delegate.finishedLaunching(false);
    EXPECT_EQ(statusItem.installs, 1);
    EXPECT_TRUE(window.inFront);
    settle();
    EXPECT_FALSE(session->sampler().isRunning().get());
    window.onDrawn();
    settle();
    EXPECT_TRUE(session->sampler().isRunning().get());
    consent = AudioCaptureProbeOutcome::denied;
    delegate.becameActive();
    settle();
    EXPECT_FALSE(session->sampler().isRunning().get());
}

TEST_F(AppDelegateTest, HiddenLaunchCapturesWithoutMakingTheWindow) {
    defaults.remove(PermissionStore::kFlowKey); // the first start, behind a command that granted access
    launch(true);
    EXPECT_EQ(opened, 0);
    EXPECT_TRUE(session->sampler().isRunning().get());
    EXPECT_FALSE(delegate.shouldHandleReopen(false)); // started again
    EXPECT_TRUE(window.inFront);
}

TEST_F(AppDelegateTest, ReopenBringsBackAWindowUnlessItIsThere) {
    launch();
    const int activations = application.activations;
    EXPECT_TRUE(delegate.shouldHandleReopen(true));
    EXPECT_EQ(application.activations, activations);
    for (const auto& putAway : std::initializer_list<std::function<void()>>{[this] { window.miniaturized = true; },
                                                                            [this] { hosting.hide(); },
                                                                            [this] { window.inFront = false; }}) {
        putAway();
        const bool visible = window.visible && window.inFront;
        EXPECT_FALSE(delegate.shouldHandleReopen(visible));
        EXPECT_TRUE(window.inFront);
        EXPECT_FALSE(window.miniaturized);
    }
    EXPECT_EQ(opened, 1);
}

TEST_F(AppDelegateTest, StatusItemShowsTheWindowOrTheMenuFromWhichQuitStopsCaptureFirst) {
    launch();
    hosting.hide();
    statusItem.click(StatusItemClick::rightMouseUp);
    EXPECT_EQ(statusItem.menusAt, std::vector{4.0});
    EXPECT_FALSE(window.visible);
    statusItem.click(StatusItemClick::leftMouseUp);
    EXPECT_TRUE(window.visible);
    ASSERT_EQ(statusItem.menu.size(), 3U);
    EXPECT_EQ(statusItem.menu[0].title, "Show rewindle");
    EXPECT_EQ(statusItem.menu[1].title, "");
    EXPECT_EQ(statusItem.menu[2].title, "Quit rewindle");
    statusItem.menu[2].action();
    statusItem.menu[2].action();
    EXPECT_EQ(application.terminations, 0);
    settle();
    EXPECT_EQ(application.terminations, 1);
    EXPECT_EQ(hardware.liveObjects(), 0U);
}

TEST_F(AppDelegateTest, FirstWindowEverBecomesAStripAtTheTopOfTheScreen) {
    session->settingsManager().setShowLevelMeter(true);
    launch();
    EXPECT_EQ(window.frame, (Rect{0, 30, 1'004, 264})); // content of 1,000 x 238 in its frame
    EXPECT_TRUE(window.animated);
    window.frame = {};
    hosting.setMainWindow(nullptr);
    hosting.show();
    EXPECT_EQ(opened, 2);
    EXPECT_EQ(window.frame, Rect{});
    window.screen.reset();
    bool completed = false;
    hosting.applyDefaultFrame(false, [&] { completed = true; });
    EXPECT_TRUE(completed);
    EXPECT_EQ(window.frame, Rect{});
}

TEST_F(AppDelegateTest, WindowLeavesFullScreenBeforeItIsHidden) {
    launch();
    window.fullScreen = true;
    hosting.hide();
    EXPECT_TRUE(window.visible);
    window.fullScreenLeft();
    EXPECT_FALSE(window.visible);

    hosting.show();
    window.fullScreen = true;
    hosting.hide();
    hosting.show(); // before the window manager is done
    window.fullScreenLeft();
    EXPECT_TRUE(window.visible);
}

} // namespace
} // namespace rewindle::test
