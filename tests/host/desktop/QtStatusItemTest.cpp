#include "platform/widgets/QtStatusItem.h"

#include "host/desktop/DesktopTest.h"

#include <gmock/gmock.h>

namespace rewindle::test {
namespace {

using testing::ElementsAre;

class QtStatusItemTest : public DesktopTest {
protected:
    QtStatusItemTest() {
        item.install({.imageName = "MenuBarIcon",
                      .fallbackSymbol = "waveform",
                      .fallbackDescription = "rewindle",
                      .imageSize = 18,
                      .toolTip = "rewindle"},
                     {{.title = "Show", .keyEquivalent = {}, .action = [&] { ++shows; }},
                      {},
                      {.title = "Quit", .keyEquivalent = "q", .action = [&] { ++quits; }}},
                     [&](StatusItemClick click) { clicks.push_back(click); });
    }
    /// On the bar, and known to be.
    bool appears() {
        return runUntil([&] {
            return item.isShown() &&
                   desktop.statusItems() == std::vector<std::string>{"com.rewindle.Rewindle rewindle"};
        });
    }

    int shows = 0;
    int quits = 0;
    std::vector<StatusItemClick> clicks;
    QtStatusItem item{QDBusConnection::sessionBus()};
};

TEST_F(QtStatusItemTest, AppearsWhenTheBarComesLateAndAgainAfterItsRestart) {
    desktop.startStatusBar();
    EXPECT_TRUE(appears());
    desktop.stopStatusBar();
    EXPECT_TRUE(runUntil([&] { return !item.isShown(); }));
    desktop.startStatusBar();
    EXPECT_TRUE(appears());
}

TEST_F(QtStatusItemTest, WaitsForSomebodyWhoShowsTheList) {
    const Process list("exec " REWINDLE_STATUS_BAR " watch");
    EXPECT_TRUE(runUntil([&] { return session().run(REWINDLE_STATUS_BAR " items").exitCode == 0; }));
    EXPECT_FALSE(item.isShown());
    const Process bar("exec " REWINDLE_STATUS_BAR " show");
    EXPECT_TRUE(appears());
}

TEST_F(QtStatusItemTest, HasAMenuAndTellsOfClicks) {
    desktop.startStatusBar();
    ASSERT_TRUE(appears());
    desktop.clickStatusItem();
    EXPECT_TRUE(runUntil([&] { return !clicks.empty(); }));
    EXPECT_THAT(clicks, ElementsAre(StatusItemClick::leftMouseUp));
    EXPECT_THAT(desktop.statusMenu(), ElementsAre("Show", "-", "Quit"));
    desktop.chooseInStatusMenu("Quit");
    EXPECT_TRUE(runUntil([&] { return quits == 1; }));
    EXPECT_EQ(shows, 0);
}

} // namespace
} // namespace rewindle::test
