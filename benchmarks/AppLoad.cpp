// What the program costs as an application: its start beside that of an empty window, its memory, and what it takes
// while its window is hidden, on a private session with a display and no GPU.
//
// app_load [SECONDS]    watches the hidden program for so long (60)

#include "LoadSession.h"
#include "PaintWatcher.h"
#include "ProcessUsage.h"

#include <cstdio>
#include <stdexcept>
#include <thread>

namespace rewindle::bench {
namespace {

using namespace std::chrono_literals;
using support::Process;
using Clock = std::chrono::steady_clock;

constexpr int kRounds = 15;
constexpr auto kProgram = "exec " REWINDLE_BINARY;
constexpr auto kEmptyWindow = "exec " REWINDLE_EMPTY_WINDOW;

double millisecondsSince(Clock::time_point start, Clock::time_point end = Clock::now()) {
    return std::chrono::duration<double, std::milli>(end - start).count();
}

Process start(const LoadSession& session, const std::string& command) {
    return Process(command + " 2>>" + session.folder() + "/log"); // with its complaints
}

/// How the program's window looks when it shows the waveform. This start is also the one for the caches, and for the
/// program to have placed its window for the first time.
PaintWatcher::Look waveformLook(const LoadSession& session, PaintWatcher& watcher) {
    watcher.begin();
    const Process program = start(session, kProgram);
    watcher.firstPaintedFrame();
    std::this_thread::sleep_for(2s); // it has begun to listen by then
    return watcher.look();
}

/// Milliseconds from the start of a command until its window is painted; so that it looks as given, when it is.
double firstFrameMs(const LoadSession& session, PaintWatcher& watcher, const std::string& command,
                    const PaintWatcher::Look* wanted) {
    watcher.begin();
    const auto begin = Clock::now();
    const Process process = start(session, command);
    return millisecondsSince(begin, wanted ? watcher.firstFrameWithLook(*wanted) : watcher.firstPaintedFrame());
}

bool reportFirstFrame(const LoadSession& session) {
    PaintWatcher watcher;
    const auto waveform = waveformLook(session, watcher);
    firstFrameMs(session, watcher, kEmptyWindow, nullptr);
    std::vector<double> ratios;
    std::vector<double> times;
    for (int round = 0; round < kRounds; ++round) {
        const double empty = firstFrameMs(session, watcher, kEmptyWindow, nullptr);
        times.push_back(firstFrameMs(session, watcher, kProgram, &waveform));
        ratios.push_back(times.back() / empty);
    }
    char unit[64];
    std::snprintf(unit, sizeof unit, "x an empty window (%.0f ms)", median(times));
    return report("exec to the first frame with the waveform", median(ratios), unit, 2.0);
}

/// Milliseconds from the start of a command to its end, which must be a success.
double runMs(const std::string& command) {
    std::vector<double> times;
    for (int round = 0; round < kRounds; ++round) {
        const auto start = Clock::now();
        Process process(command);
        if (process.wait() != 0) throw std::runtime_error("failed: " + command);
        times.push_back(millisecondsSince(start));
    }
    return median(times);
}

bool reportShown(const LoadSession& session) {
    PaintWatcher watcher;
    watcher.begin();
    const Process program(kProgram + (" 2>>" + session.folder() + "/log"));
    watcher.firstPaintedFrame();
    const Process player = session.play();
    std::this_thread::sleep_for(5s); // it draws what it hears
    bool good = report("resident memory beyond the ring, window shown",
                       megabytesBeyondRing(program.pid(), session.retainedSeconds()), "MB", 64);
    good = report("second start, exec to exit", runMs(kProgram), "ms", 100) && good;
    return report("preflight, exec to exit", runMs(std::string(kProgram) + " --tcc-audio-capture-preflight"), "ms",
                  50) &&
           good;
}

bool reportHidden(const LoadSession& session, double seconds) {
    const Process program(std::string(kProgram) + " --hidden 2>>" + session.folder() + "/log");
    session.listenTo("out");
    std::vector<double> cpu;
    std::vector<double> switches;
    for (const auto& row : session.watchBesideRecorder(program.pid(), seconds)) {
        cpu.push_back(row.program.cpuSeconds / row.recorder.cpuSeconds);
        switches.push_back(row.program.switches / (seconds / kWindows) / kCyclesPerSecond);
    }
    if (session.retainedSeconds() < seconds) throw std::runtime_error("nothing was captured");
    const bool good = report("CPU while a sine plays, window hidden", median(cpu), "x pw-record", 1.0);
    return report("context switches, window hidden", median(switches), "x graph cycles", 1.5) && good;
}

bool measure(double seconds) {
    const LoadSession session({.display = true}, seconds + 10);
    session.passFirstStart();
    bool good = reportFirstFrame(session);
    good = reportShown(session) && good;
    return reportHidden(session, seconds) && good;
}

} // namespace
} // namespace rewindle::bench

int main(int argc, char** argv) {
    return rewindle::bench::measureAsTold(argc, argv, rewindle::bench::measure);
}
