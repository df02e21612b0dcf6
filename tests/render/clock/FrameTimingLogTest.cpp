#include "render/clock/FrameTimingLog.h"

#include "fakes/ManualClock.h"
#include "host/files/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <sstream>

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;

class FrameTimingLogTest : public testing::Test {
protected:
    /// The log of a program with such an environment.
    void start(const char* refreshes) {
        log.emplace(FrameTimingOptions::fromEnvironment(file.c_str(), refreshes), clock,
                    [this](std::function<void()> onRefresh) {
                        refresh = std::move(onRefresh);
                        return std::make_unique<DisplayRefresh>();
                    });
    }
    void refreshAfter(std::chrono::nanoseconds interval) {
        clock.advance(interval);
        refresh();
    }
    [[nodiscard]] std::string text() const {
        std::ostringstream all;
        all << std::ifstream(file).rdbuf();
        return all.str();
    }

    TemporaryFolder folder;
    std::filesystem::path file = folder.path / "a" / "b" / "frames.tsv";
    ManualClock clock; // at 1000 s, on 2024-11-10 14:40:00.123 UTC
    std::function<void()> refresh;
    std::optional<FrameTimingLog> log;
};

TEST_F(FrameTimingLogTest, WritesRowsAgainstTheRefreshesOfTheDisplayWhosePeriodItEstimates) {
    start("1");
    EXPECT_FALSE(exists(file)); // before the first event
    log->event("clock_start", "mode=steady");
    refreshAfter(10ms);
    refreshAfter(10ms);
    clock.advance(3ms);
    log->event("waveform_tick", "fps=60 redraw=1");
    EXPECT_EQ(text(), "# Rewindle frame timing log started 2024-11-10T14:40:00Z vsync=1\n"
                      "# columns: uptime_ms\tevent\tsource\tphase_ms\tvsync_period_ms\tdetail\n"
                      "1000000.000\tclock_start\tmain\t-1.000\t8.333\tmode=steady\n"
                      "1000010.000\tvsync\tdisplay\t0.000\t8.333\t\n"
                      "1000020.000\tvsync\tdisplay\t0.000\t8.500\t\n"
                      "1000023.000\twaveform_tick\tmain\t3.000\t8.500\tfps=60 redraw=1\n");
    const std::pair<std::chrono::nanoseconds, const char*> rows[] = {
        {1ms, "8.500"}, {50'001us, "8.500"}, {1'001us, "7.750"}, {49'999us, "11.975"}, {0ms, "11.975"}};
    refreshAfter(1s);
    for (const auto& [interval, period] : rows) {
        refreshAfter(interval);
        EXPECT_THAT(text(), testing::EndsWith(std::string("\t0.000\t") + period + "\t\n"));
    }
}

TEST_F(FrameTimingLogTest, FollowsNoDisplayUnlessAskedAndReplacesAnOlderLogWhereAFileCanBeMade) {
    for (const char* refreshes : {static_cast<const char*>(nullptr), "", "0", "yes"}) {
        start(refreshes);
        log->event("clock_stop", "visible=0");
        EXPECT_FALSE(refresh);
        EXPECT_EQ(std::ranges::count(text(), '\n'), 3);
    }
    EXPECT_FALSE(FrameTimingLog(FrameTimingOptions::fromEnvironment(nullptr, "1"), clock).isEnabled());
    std::filesystem::remove_all(folder.path / "a");
    std::ofstream(folder.path / "a") << "a file in the way";
    start("1");
    log->event("clock_start", "");
    EXPECT_FALSE(refresh);
}

} // namespace
} // namespace rewindle::test
