#include "render/clock/WindowAnimationDriver.h"

#include "fakes/AllocationCounter.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAnimatedWindow.h"
#include "fakes/ManualClock.h"
#include "fakes/ManualTimers.h"
#include "host/files/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <random>

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::chrono::nanoseconds kFrame(16'666'667);
constexpr std::chrono::nanoseconds kPoll = 250ms;
constexpr auto kSteady = AnimationClockMode::steady;
constexpr auto kVsync = AnimationClockMode::vsync;

struct Client final : DisplayClockClient {
    void displayLinkTick() override {
        ++linkTicks;
        if (onTick) onTick();
    }
    void timerTick(bool visible) override {
        ++(visible ? timerTicks : hiddenTicks);
        if (onTick) onTick();
    }
    [[nodiscard]] AnimationClockMode preferredClockMode() const override { return mode; }

    AnimationClockMode mode = kSteady;
    int linkTicks = 0, timerTicks = 0, hiddenTicks = 0;
    std::function<void()> onTick;
};

class WindowAnimationDriverTest : public testing::Test {
protected:
    WindowAnimationDriverTest() { driver->addClient(client); }

    /// "event detail" of every row since the last call.
    std::vector<std::string> newRows() {
        std::vector<std::string> rows;
        for (std::string line; std::getline(reader, line);) {
            if (line.starts_with('#')) continue;
            const auto name = line.find('\t') + 1;
            rows.push_back(line.substr(name, line.find('\t', name) - name) + ' ' + line.substr(line.rfind('\t') + 1));
        }
        reader.clear();
        return rows;
    }

    TemporaryFolder folder;
    ManualClock clock;
    ManualTimers timers;
    CapturingLogSink sink;
    FrameTimingLog log{{folder.path / "frames.tsv", false}, clock};
    WindowAnimationDrivers drivers{{clock, timers, log, sink}};
    std::shared_ptr<FakeAnimatedWindow> window = std::make_shared<FakeAnimatedWindow>();
    std::shared_ptr<WindowAnimationDriver> driver = drivers.driverFor(window);
    std::shared_ptr<Client> client = std::make_shared<Client>();
    std::ifstream reader{folder.path / "frames.tsv"};
};

TEST_F(WindowAnimationDriverTest, RunsOneClockAfterTheStateOfItsWindow) {
    EXPECT_THAT(newRows(), ElementsAre("visibility visible=1 key=0 occlusion=1",
                                       "clock_start mode=steady-nonkey fps=60.0 visible=1 clients=1 key=0"));
    EXPECT_TRUE(timers.fire(kFrame));
    EXPECT_EQ(client->timerTicks, 1);
    EXPECT_EQ(driver->framesPerSecond(), std::nullopt);

    window->setKey(true); // no stop in between
    EXPECT_THAT(newRows(), ElementsAre("clock_start mode=steady fps=60.0 visible=1 clients=1 key=1"));
    EXPECT_FALSE(timers.runs(kFrame) || timers.runs(kPoll));
    EXPECT_EQ(window->linkRange(), (FrameRateRange{30, 60, 60}));
    EXPECT_TRUE(window->frameShown());
    EXPECT_EQ(client->linkTicks, 1);

    client->mode = kVsync; // taken up at the next tick
    EXPECT_TRUE(window->frameShown());
    EXPECT_THAT(newRows(), ElementsAre("clock_start mode=vsync fps=120.0 visible=1 clients=1 key=1"));
    EXPECT_EQ(window->linkRange(), std::nullopt);
    EXPECT_EQ(driver->framesPerSecond(), 120);

    window->setMiniaturized(true);
    EXPECT_THAT(newRows(),
                ElementsAre("visibility visible=0 key=1 occlusion=1", "clock_stop visible=0 clients=1 key=1"));
    EXPECT_FALSE(window->hasLink());

    window->contentView = false;
    window->setMiniaturized(false);
    EXPECT_THAT(newRows(), ElementsAre("visibility visible=1 key=1 occlusion=1",
                                       "clock_start mode=vsync-fallback fps=60.0 visible=1 clients=1 key=1"));
    window->contentView = true;
    EXPECT_TRUE(timers.fire(kFrame));
    EXPECT_THAT(newRows(), ElementsAre("clock_start mode=vsync fps=120.0 visible=1 clients=1 key=1"));

    driver->removeClient(client.get());
    EXPECT_THAT(newRows(), ElementsAre("clock_stop visible=1 clients=0 key=1"));
    window->setKey(false);
    EXPECT_THAT(newRows(), IsEmpty());
    EXPECT_FALSE(timers.runs(kFrame));
}

TEST_F(WindowAnimationDriverTest, StopsWhenTheWindowGoesAway) {
    newRows();
    window.reset();
    EXPECT_THAT(newRows(), ElementsAre("visibility visible=0 key=0 occlusion=0", "clock_stop visible=0 clients=1"));
    EXPECT_FALSE(timers.runs(kFrame) || timers.runs(kPoll));
}

TEST_F(WindowAnimationDriverTest, RunsAtThePaceOfItsFastestClientWhileThatLives) {
    window->setKey(true);
    auto fast = std::make_shared<Client>();
    fast->mode = kVsync;
    driver->addClient(fast);
    EXPECT_EQ(driver->currentConfiguration(), (ClockConfiguration{kVsync, ClockDrive::displayLink}));
    fast.reset(); // without a word
    EXPECT_TRUE(window->frameShown());
    EXPECT_EQ(driver->currentConfiguration(), (ClockConfiguration{kSteady, ClockDrive::displayLink}));
    window->setKey(false);
    client.reset();
    EXPECT_TRUE(timers.fire(kFrame));
    EXPECT_EQ(driver->currentConfiguration(), std::nullopt);
}

TEST_F(WindowAnimationDriverTest, ClientsMayComeAndGoDuringATick) {
    const auto other = std::make_shared<Client>();
    const auto takeAway = [&](Client& victim) { return [&] { driver->removeClient(&victim); }; };
    driver->addClient(other);
    client->onTick = takeAway(*other);
    other->onTick = takeAway(*client);
    EXPECT_TRUE(timers.fire(kFrame));
    EXPECT_EQ(client->timerTicks + other->timerTicks, 1); // whoever was first removed the other
    for (const auto& each : {client, other})
        each->onTick = [&] {
            driver->removeClient(client.get());
            driver->removeClient(other.get());
        };
    EXPECT_TRUE(timers.fire(kFrame));
    EXPECT_EQ(driver->currentConfiguration(), std::nullopt);
}

TEST_F(WindowAnimationDriverTest, ATickAllocatesNothing) {
    FrameTimingLog off({}, clock);
    const auto quiet = WindowAnimationDriver::make(window, {clock, timers, off, sink});
    driver->removeClient(client.get());
    quiet->addClient(client);
    timers.fire(kFrame); // the first one makes room
    auto before = allocationsOfThisThread();
    timers.fire(kFrame);
    EXPECT_EQ(allocationsOfThisThread(), before);
    window->setKey(true);
    before = allocationsOfThisThread();
    window->frameShown();
    EXPECT_EQ(allocationsOfThisThread(), before);
    EXPECT_EQ(client->timerTicks + client->linkTicks, 3);
}

TEST_F(WindowAnimationDriverTest, EachWindowHasOneDriver) {
    EXPECT_EQ(drivers.driverFor(window), driver);
    EXPECT_NE(drivers.driverFor(std::make_shared<FakeAnimatedWindow>()), driver);
}

// --- Visibility ---

struct Sight {
    const char* what;
    bool miniaturized, onScreen, key, occlusionVisible, covered;
    bool visible, polls;
};

TEST_F(WindowAnimationDriverTest, AWindowIsSeenWhenItIsKeyOrNotCovered) {
    const Sight sights[] = {
        {"miniaturised", true, true, true, true, false, false, false},
        {"not on screen", false, false, true, true, false, false, false},
        {"key, whatever lies in front", false, true, true, false, true, true, false},
        {"in front", false, true, false, true, false, true, true},
        {"covered", false, true, false, true, true, false, true},
        {"covered, as the system says", false, true, false, false, false, false, false},
    };
    for (const auto& sight : sights) {
        SCOPED_TRACE(sight.what);
        window->above.clear();
        if (sight.covered) window->above.push_back({{0, 0, 2'000, 2'000}, 1});
        window->setMiniaturized(sight.miniaturized);
        window->setOnScreen(sight.onScreen);
        window->setKey(sight.key);
        window->setOcclusionVisible(sight.occlusionVisible);
        EXPECT_EQ(driver->currentConfiguration().has_value(), sight.visible);
        EXPECT_EQ(timers.runs(kPoll), sight.polls);
    }
}

TEST_F(WindowAnimationDriverTest, NoticesByPollingThatOthersCoverItAndLeave) {
    window->above = {{{100, 100, 949, 500}, 1}}; // 5.1 % are left
    timers.fire(kPoll);
    EXPECT_TRUE(timers.runs(kFrame));
    window->above = {{{100, 100, 951, 500}, 1}};
    timers.fire(kPoll);
    EXPECT_FALSE(timers.runs(kFrame));
    window->above.front().alpha = 0.99;
    EXPECT_TRUE(timers.fire(kPoll));
    EXPECT_TRUE(timers.runs(kFrame));
}

TEST(UncoveredShareTest, CountsEveryCoveredPointOnce) {
    const Rect frame{3, 2, 20, 10};
    EXPECT_EQ(uncoveredShare({0, 0, 0, 10}, {}), 0);
    std::mt19937 random(1);
    const auto below = [&](int limit) {
        return static_cast<double>(std::uniform_int_distribution(0, limit)(random));
    };
    for (int round = 0; round < 200; ++round) {
        std::vector<CoveringWindow> above(static_cast<std::size_t>(round % 7));
        for (auto& [rect, alpha] : above) {
            rect = {below(24), below(12), below(16), below(10)};
            alpha = below(3) == 0 ? 0.998 : 0.999;
        }
        const auto covered = [&](double x, double y) {
            return std::ranges::any_of(above, [&](const CoveringWindow& window) {
                const auto& [rect, alpha] = window;
                return alpha >= 0.999 && x > rect.x && x < rect.x + rect.width && y > rect.y &&
                       y < rect.y + rect.height;
            });
        };
        int uncovered = 0;
        for (int x = 0; x < 20; ++x) {
            for (int y = 0; y < 10; ++y)
                uncovered += !covered(frame.x + x + 0.5, frame.y + y + 0.5);
        }
        EXPECT_NEAR(uncoveredShare(frame, above), uncovered / 200.0, 1e-12) << round;
    }
}

// --- The waveform's pace ---

TEST(WaveformClockModeTest, IsFastForASecondAfterAnInteractionUnlessForced) {
    EXPECT_EQ(forcedClockMode("VSYNC"), kVsync);
    EXPECT_EQ(forcedClockMode("Steady"), kSteady);
    for (const char* nothing : {static_cast<const char*>(nullptr), "", "fast", "vsync "})
        EXPECT_EQ(forcedClockMode(nothing), std::nullopt);

    EXPECT_EQ(waveformClockMode({}, 0, 0.5), kSteady); // no interaction yet, soon after the computer's start
    EXPECT_EQ(waveformClockMode({}, 100, 100.999), kVsync);
    EXPECT_EQ(waveformClockMode({}, 100, 101), kSteady);
    EXPECT_EQ(waveformClockMode({}, std::nullopt, 100), kSteady); // no driver
    EXPECT_EQ(waveformClockMode(kVsync, std::nullopt, 100), kVsync);
    EXPECT_EQ(waveformClockMode(kSteady, 100, 100.5), kSteady);
}

} // namespace
} // namespace rewindle::test
