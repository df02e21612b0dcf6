#include "fakes/CapturingLogSink.h"
#include "host/windows/DesktopTest.h"
#include "host/windows/QtAnimatedWindow.h"
#include "host/windows/QtRepeatingTimers.h"
#include "host/windows/TimerFd.h"
#include "host/windows/X11DisplayRefresh.h"
#include "render/clock/WindowAnimationDriver.h"

#include <QGuiApplication>
#include <QScreen>

#include <atomic>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <thread>

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;

constexpr std::chrono::nanoseconds kFrame(16'666'667);

struct TickCounter final : DisplayClockClient {
    void displayLinkTick() override { ++ticks; }
    void timerTick(bool) override { ++ticks; }
    [[nodiscard]] AnimationClockMode preferredClockMode() const override { return AnimationClockMode::steady; }
    int ticks = 0;
};

class FrameClockTest : public DesktopTest {
protected:
    FrameClockTest() {
        widget.setWindowTitle(QStringLiteral("rewindle"));
        widget.setGeometry(200, 200, 400, 200);
        widget.show();
        EXPECT_TRUE(runUntil([&] { return window->isKey() && window->isOnScreen(); }));
        driver->addClient(client);
    }
    /// A window of another program, as far as this one's clock can tell.
    static std::unique_ptr<QWidget> other(const QRect& place) {
        auto other = std::make_unique<QWidget>();
        other->setWindowFlag(Qt::FramelessWindowHint);
        other->setGeometry(place);
        other->show();
        return other;
    }
    /// Waits until the clock calls its client, driven like that if it matters.
    bool runs(std::optional<ClockDrive> drive = {}) {
        QGuiApplication::sync(); // Qt sends some requests only when others follow
        const int before = client->ticks;
        return runUntil([&] {
            const auto& current = driver->currentConfiguration();
            return current && (!drive || current->drive == *drive) && client->ticks > before;
        });
    }
    bool stops() {
        QGuiApplication::sync();
        return runUntil([&] { return !driver->currentConfiguration(); });
    }

    QtRepeatingTimers timers;
    SystemClock clock;
    CapturingLogSink sink;
    FrameTimingLog log{{}, clock};
    QWidget widget;
    std::shared_ptr<QtAnimatedWindow> window = std::make_shared<QtAnimatedWindow>(widget);
    std::shared_ptr<TickCounter> client = std::make_shared<TickCounter>();
    std::shared_ptr<WindowAnimationDriver> driver = WindowAnimationDriver::make(window, {clock, timers, log, sink});
};

/// Whether the kernel has a timer for this process with that interval, to a nanosecond.
bool isTimed(std::int64_t nanoseconds) {
    for (const auto& file : std::filesystem::directory_iterator("/proc/self/fdinfo")) {
        std::ifstream lines(file.path());
        for (std::string line; std::getline(lines, line);) {
            long seconds = 0, rest = 0;
            if (std::sscanf(line.c_str(), "it_interval: (%ld, %ld)", &seconds, &rest) == 2 &&
                std::abs(seconds * 1'000'000'000 + rest - nanoseconds) <= 1)
                return true;
        }
    }
    return false;
}

constexpr QRect kAside(700, 500, 100, 100);
constexpr QRect kLeftHalf(0, 100, 400, 400);
constexpr QRect kRightHalf(400, 100, 400, 400);

TEST_F(FrameClockTest, FollowsTheKeyboardAndStopsWhileTheWindowIsMiniaturisedHiddenOrElsewhere) {
    EXPECT_TRUE(runs(ClockDrive::displayLink));
    auto aside = other(kAside);
    EXPECT_TRUE(runs(ClockDrive::timer));
    desktop.click("rewindle", 50, 50);
    EXPECT_TRUE(runs(ClockDrive::displayLink));
    aside.reset();
    // Whether a window that comes back has the keyboard is up to the window manager.
    widget.showMinimized();
    EXPECT_TRUE(stops());
    EXPECT_TRUE(runUntil([&] { return !desktop.isOnScreen("rewindle"); })); // else Qt would not ask for it back
    widget.showNormal();
    EXPECT_TRUE(runs());
    widget.hide();
    EXPECT_TRUE(stops());
    widget.show();
    EXPECT_TRUE(runs());
    EXPECT_EQ(session().run("xdotool set_num_desktops 2 set_desktop 1").exitCode, 0);
    EXPECT_TRUE(stops()) << "on a desktop that nobody looks at";
    EXPECT_EQ(session().run("xdotool set_desktop 0").exitCode, 0);
    EXPECT_TRUE(runs());
    widget.setWindowFlag(Qt::Tool); // another window of the desktop's for the same widget
    EXPECT_TRUE(stops());
    widget.show();
    EXPECT_TRUE(runs());
}

TEST_F(FrameClockTest, StopsWhileOpaqueWindowsCoverTheWindowTogether) {
    const auto left = other(kLeftHalf);
    EXPECT_TRUE(runs(ClockDrive::timer));
    const auto right = other(kRightHalf);
    EXPECT_TRUE(stops());
    EXPECT_FALSE(window->isOcclusionVisible()); // so that nothing polls either

    right->setWindowOpacity(0.5);
    EXPECT_TRUE(runs(ClockDrive::timer));
    right->setWindowOpacity(1);
    EXPECT_TRUE(stops());
    left->move(0, 500);
    EXPECT_TRUE(runs(ClockDrive::timer));
    left->move(kLeftHalf.topLeft());
    EXPECT_TRUE(stops());
    left->hide();
    EXPECT_TRUE(runs(ClockDrive::timer));
    left->show();
    EXPECT_TRUE(stops());
    left->showMinimized();
    EXPECT_TRUE(runs(ClockDrive::timer));
    left->showNormal();
    EXPECT_TRUE(stops());
    widget.raise();
    EXPECT_TRUE(runs(ClockDrive::timer));
}

TEST_F(FrameClockTest, AWindowThatMayBeTransparentCoversNothing) {
    auto glass = std::make_unique<QWidget>();
    glass->setAttribute(Qt::WA_TranslucentBackground);
    glass->setGeometry(0, 0, 1'000, 700);
    glass->show();
    EXPECT_TRUE(runs(ClockDrive::timer));
    const auto lid = other({0, 0, 1'000, 700}); // proves that the one above it was looked at
    EXPECT_TRUE(stops());
}

TEST_F(FrameClockTest, TheDisplayLinkKeepsToTheScreensRateOrToTheOneItIsGiven) {
    const double screenRate = widget.screen()->refreshRate();
    int frames = 0;
    for (const auto& [range, rate] : {std::pair(std::optional<FrameRateRange>(), screenRate),
                                      std::pair(std::optional(FrameRateRange{10, 30, 24}), 24.0)}) {
        const auto link = window->makeDisplayLink(range, [&] { ++frames; });
        EXPECT_EQ(link->framesPerSecond(), rate);
        EXPECT_TRUE(isTimed(std::llround(1e9 / rate))) << rate;
        const int before = frames;
        EXPECT_TRUE(runUntil([&] { return frames > before + 2; }));
    }
}

TEST_F(FrameClockTest, TheScreensRefreshesAreCountedOnAThreadOfTheirOwn) {
    std::atomic<int> refreshes = 0;
    std::atomic<bool> onInterfaceThread = false;
    const auto here = std::this_thread::get_id();
    auto refresh = followX11DisplayRefresh([&] {
        onInterfaceThread = std::this_thread::get_id() == here;
        ++refreshes;
    });
    ASSERT_TRUE(refresh);
    EXPECT_TRUE(runUntil([&] { return refreshes >= 30; }));
    EXPECT_FALSE(onInterfaceThread);
    refresh.reset(); // does not hang
}

TEST_F(FrameClockTest, TimersMakeOneFireOfThoseThatWereMissed) {
    driver->removeClient(client.get());
    int fires = 0;
    TimerFd timer([&] { ++fires; });
    timer.start(kFrame, kFrame);
    for (const auto until = clock.uptime() + 11 * kFrame; clock.uptime() < until;)
        std::this_thread::yield(); // meanwhile the event loop does not run
    EXPECT_TRUE(runUntil([&] { return fires > 0; }));
    EXPECT_EQ(fires, 1);
    EXPECT_GE(timer.expirations(), 10U);
}

} // namespace
} // namespace rewindle::test
