#include "host/windows/QtStatusItem.h"

#include "host/windows/DesktopTest.h"

namespace rewindle::test {
namespace {

class QtStatusItemTest : public DesktopTest {
protected:
    QtStatusItemTest() {
        item.install({.imageName = "MenuBarIcon",
                      .fallbackSymbol = "waveform",
                      .fallbackDescription = "rewindle",
                      .imageSize = 18,
                      .toolTip = "rewindle"},
                     {}, [](StatusItemClick) {});
    }
    /// On the bar, and known to be.
    bool appears() {
        return runUntil([&] {
            return item.isShown() &&
                   desktop.statusItems() == std::vector<std::string>{"com.rewindle.Rewindle rewindle"};
        });
    }

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

} // namespace
} // namespace rewindle::test
