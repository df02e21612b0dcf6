// What it costs to show the live waveform in a window of which it takes 1600 x 238 points, on a private session with a
// display and no GPU.
//
// waveform_load [SECONDS]    watches for so long for each figure (60)

#include "LiveWindow.h"
#include "ProcessUsage.h"
#include "support/Sound.h"

#include <chrono>
#include <cstdio>
#include <optional>
#include <random>
#include <stdexcept>
#include <thread>

namespace rewindle::bench {
namespace {

using namespace std::chrono_literals;
using support::Process;

constexpr auto kScreen = "3300x1300";
constexpr double kMsPerTick = 1e3 / 60;
constexpr int kShortest = 30, kLongest = 600; // seconds that the program can be made to hold

double uptimeMs() {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::string atScale(const std::string& what, int scale) {
    return what + ", scale " + std::to_string(scale);
}

/// Noise that gets louder and softer twice a second.
support::Sound music(double seconds) {
    auto sound = support::noise(seconds, 3);
    constexpr std::size_t kFramesPerLevel = 24'000;
    std::mt19937 random(4);
    std::uniform_real_distribution<float> level(0.1F, 2.0F);
    float factor = 1;
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        if (i % (2 * kFramesPerLevel) == 0) factor = level(random);
        sound.samples[i] *= factor;
    }
    return sound;
}

/// The window of another program, moved to a place where it covers nothing of the one that is measured.
class OtherWindow {
public:
    OtherWindow(const LoadSession& session, const std::string& command, const std::string& title)
        : process_(command + " 2>>" + session.folder() + "/log"),
          id_(support::Desktop(session.session()).window(title)) {}
    [[nodiscard]] pid_t pid() const { return process_.pid(); }
    [[nodiscard]] const std::string& id() const { return id_; }

private:
    Process process_;
    std::string id_;
};

bool reportCpuPerFrame(const LoadSession& session, const LiveWindow& live, const OtherWindow& blit, int scale,
                       double seconds) {
    const FrameCounter blits(static_cast<xcb_window_t>(std::stoul(blit.id(), nullptr, 0)));
    const FrameCounter::PixelSize blitSize{LiveWindow::kWidth * scale, LiveWindow::kHeight * scale};
    const auto file = session.folder() + "/music.wav";
    save(music(kShortest + seconds + 10), file);
    const Process player = session.play(file);
    if (!support::eventually([&] { return session.retainedSeconds() >= kShortest; }, kShortest + 5))
        throw std::runtime_error("the waveform is not full");
    std::vector<std::pair<int, int>> frames;
    const auto countFrames = [&] { frames.emplace_back(live.paintedFrames(), blits.count(blitSize)); };
    countFrames();
    frames.clear();
    const auto rows = watch({live.pid(), blit.pid()}, seconds, countFrames);
    std::vector<double> ratios, costs;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (frames[i].first == 0 || frames[i].second == 0) throw std::runtime_error("no frames are painted");
        costs.push_back(rows[i][0].cpuSeconds / frames[i].first * 1e3);
        ratios.push_back(costs.back() / (rows[i][1].cpuSeconds / frames[i].second * 1e3));
    }
    char unit[64];
    std::snprintf(unit, sizeof unit, "x a window that blits (%.2f ms)", median(costs));
    return report(atScale("CPU per drawn frame", scale), median(ratios), unit, 2.0);
}

/// Draws out a selection, to and fro, without end.
std::string dragging(int scale) {
    std::string actions = "windowactivate %1 mousemove --window %1 " + std::to_string(200 * scale) + " " +
                          std::to_string(200 * scale) + " mousedown 1";
    for (int step = 0; step < 200; ++step) {
        const int x = (400 + 5 * (step < 100 ? step : 200 - step)) * scale;
        actions += " mousemove --window %1 " + std::to_string(x) + " " + std::to_string(200 * scale) + " sleep 0.02";
    }
    return actions + " mouseup 1";
}

bool reportFrameRate(const LoadSession& session, const LiveWindow& live, int scale, double seconds) {
    const Process player = session.play();
    const Process person = live.repeatXdotool(dragging(scale));
    std::this_thread::sleep_for(1s);
    std::vector<double> shares;
    double rate = 0;
    auto before = uptimeMs();
    std::ignore = live.paintedFrames();
    watch({live.pid()}, seconds / 2, [&] {
        const int frames = live.paintedFrames();
        const double now = uptimeMs();
        rate = live.log().clockRate();
        shares.push_back(frames / ((now - before) / 1e3) / rate);
        before = now;
    });
    char unit[64];
    std::snprintf(unit, sizeof unit, "of the clock's rate (%.1f Hz)", rate);
    return reportAtLeast(atScale("frames painted while a selection is drawn", scale), median(shares), unit, 0.98);
}

bool reportHidden(const std::string& name, const LoadSession& session, const LiveWindow& live, double seconds) {
    if (!support::eventually([&] { return live.log().isStopped(); })) throw std::runtime_error("the clock runs on");
    std::vector<double> cpu;
    for (const auto& row : session.watchBesideRecorder(live.pid(), seconds))
        cpu.push_back(row.program.cpuSeconds / row.recorder.cpuSeconds);
    if (!live.log().isStopped()) throw std::runtime_error("the window was seen");
    return report(name, median(cpu), "x pw-record", 1.0);
}

bool reportHiddenWindows(const LoadSession& session, const LiveWindow& live, double seconds) {
    bool good = true;
    {
        const OtherWindow cover(session, "exec " REWINDLE_EMPTY_WINDOW, "empty_window");
        live.xdotool("windowmove " + cover.id() + " 0 0 windowsize " + cover.id() + " 3300 1200 windowactivate " +
                     cover.id());
        good = reportHidden("CPU while a sine plays, window covered", session, live, seconds);
    }
    live.xdotool("windowminimize %1");
    good = reportHidden("CPU while a sine plays, window minimised", session, live, seconds) && good;
    return good;
}

/// The longest time without a tick, in ticks, while a command runs.
double longestGap(const LoadSession& session, const LiveWindow& live, const std::string& command) {
    const double from = uptimeMs();
    const auto result = session.session().run(command);
    const double to = uptimeMs();
    if (result.exitCode != 0) throw std::runtime_error(command + ": " + result.errors);
    return live.log().longestGapMs(from, to) / kMsPerTick;
}

bool reportSaving(const LoadSession& session, const LiveWindow& live) {
    constexpr int kRounds = 9;
    const Process player = session.play();
    std::this_thread::sleep_for(1s);
    std::vector<double> differences, gaps;
    for (int round = 0; round < kRounds; ++round) {
        const auto start = uptimeMs();
        gaps.push_back(longestGap(session, live, "rm -f \"$(" REWINDLE_BINARY " export --all)\""));
        const auto seconds = std::to_string((uptimeMs() - start) / 1e3);
        const double without = longestGap(session, live, REWINDLE_BINARY " status; sleep " + seconds);
        differences.push_back(gaps.back() - without);
    }
    char unit[64];
    std::snprintf(unit, sizeof unit, "ticks beyond without (%.2f)", median(gaps));
    if (session.retainedSeconds() < kLongest) throw std::runtime_error("nothing to save");
    return report("longest gap in the ticks while 600 s are saved", median(differences), unit, 1.0);
}

bool reportDrawing(const LoadSession& session, int scale, double seconds) {
    session.passFirstStart(kShortest);
    const auto blits = "QT_SCALE_FACTOR=" + std::to_string(scale) + " exec " REWINDLE_BLIT_WINDOW " " +
                       std::to_string(LiveWindow::kWidth) + " " + std::to_string(LiveWindow::kHeight);
    const OtherWindow blit(session, blits, "blit_window");
    const LiveWindow live(session, scale, LiveWindow::Logging::off);
    live.xdotool("windowmove " + blit.id() + " 20 720");
    return reportCpuPerFrame(session, live, blit, scale, seconds);
}

bool reportClock(const LoadSession& session, int scale, double seconds) {
    session.passFirstStart(kLongest);
    const LiveWindow live(session, scale, LiveWindow::Logging::on);
    session.fill(kLongest);
    bool good = reportFrameRate(session, live, scale, seconds);
    if (scale > 1) return good;
    good = reportSaving(session, live) && good;
    return reportHiddenWindows(session, live, seconds) && good;
}

bool measure(double seconds) {
    const LoadSession session({.display = true, .screen = kScreen}, seconds + 30);
    bool good = true;
    for (const int scale : {1, 2}) {
        good = reportDrawing(session, scale, seconds) && good;
        good = reportClock(session, scale, seconds) && good;
    }
    return good;
}

} // namespace
} // namespace rewindle::bench

int main(int argc, char** argv) {
    return rewindle::bench::measureAsTold(argc, argv, rewindle::bench::measure);
}
