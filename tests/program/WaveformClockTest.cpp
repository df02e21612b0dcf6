// The frame clock of the real window, by what it writes down itself.

#include "program/LiveWaveform.h"

namespace rewindle::test {
namespace {

using WaveformClock = LiveWaveform;

/// `rows` from `first` on, in one line each and without what the ticks did.
std::vector<std::string> changes(const std::vector<ClockRow>& rows, std::size_t first) {
    std::vector<std::string> result;
    for (auto i = first; i < rows.size(); ++i)
        if (rows[i].event != "waveform_tick") result.push_back(rows[i].event + ' ' + rows[i].detail);
    return result;
}

TEST_F(WaveformClock, RunsOnlyWhileTheWindowCanBeSeen) {
    start();
    const auto other = Process("exec xev -name other -geometry 1280x400+0+0 >/dev/null");
    const auto otherWindow = desktop.window("other"); // covers it
    struct Case {
        const char* what;
        std::string hide, show;
        const char* key; // whether it has the keyboard still when it is hidden
    };
    const std::string activate = "windowactivate --sync " + window;
    for (const auto& [what, hide, show, key] : {
             Case{"covered, and raised", "windowactivate --sync " + otherWindow, "windowraise " + window, "0"},
             {"covered, and chosen", "windowactivate --sync " + otherWindow, activate, "0"},
             {"minimised, and restored", "windowminimize " + window, activate, "1"},
             {"on a desktop that is left", "set_num_desktops 2 set_desktop 1", "set_desktop 0", "1"},
         }) {
        SCOPED_TRACE(what);
        mouse(hide);
        const std::vector<std::string> expected{std::string("visibility visible=0 key=") + key + " occlusion=0",
                                                std::string("clock_stop visible=0 clients=1 key=") + key};
        ASSERT_TRUE(eventually([&] { return clockRows().back().event == "clock_stop"; }));
        const auto rows = clockRows();
        EXPECT_EQ(changes(rows, rows.size() - 2), expected);
        waitForCapture(*rewindle);
        EXPECT_EQ(clockRows().size(), rows.size()) << "nothing ticks";

        mouse(show);
        ASSERT_TRUE(eventually([&] { return clockRows().size() > rows.size() + 10; }));
        const auto since = changes(clockRows(), rows.size());
        EXPECT_TRUE(since[0].starts_with("visibility visible=1 key=") && since[0].ends_with("occlusion=1"))
            << since[0];
        EXPECT_TRUE(since[1].starts_with("clock_start mode=steady")) << since[1];
        EXPECT_EQ(clockRows()[rows.size() + since.size()].detail.substr(0, 4), "fps=");
    }
}

} // namespace
} // namespace rewindle::test
