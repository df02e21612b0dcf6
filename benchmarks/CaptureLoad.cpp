// What it costs to listen all day: the whole program beside a stock recorder of the same sink, on a private
// session.
//
// capture_load [SECONDS]    measures for so long (60) while a sine plays, then for a third of it while
// nothing does

#include "LoadSession.h"
#include "ProcessUsage.h"
#include "base/ThreadSerialQueue.h"
#include "capture/engine/Rewindle.h"
#include "host/files/LockedAudioMemory.h"
#include "host/pipewire/PipeWireAudioHardware.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <future>
#include <stdexcept>
#include <string>
#include <thread>
#include <unistd.h>

namespace rewindle::bench {
namespace {

using namespace std::chrono_literals;
using support::Process;

int runLiveEngine();

bool measure(double seconds) {
    const LoadSession session({}, seconds + 10);
    const std::string folder = session.folder();
    const Process program("exec " REWINDLE_BINARY " --headless --duration 300 2>" + folder + "/log");
    const Process live("exec /proc/" + std::to_string(getpid()) + "/exe --live-engine 2>" + folder + "/live-log");
    Process recorder = session.record();
    Process player = session.play();
    std::this_thread::sleep_for(3s); // past what starting costs

    std::vector<double> cpu;
    std::vector<double> switches;
    std::vector<double> liveSwitches;
    std::vector<double> liveCpu;
    double busyCpu = 0;
    for (const auto& row : watch({program.pid(), live.pid(), recorder.pid()}, seconds)) {
        cpu.push_back(row[0].cpuSeconds / row[2].cpuSeconds);
        liveCpu.push_back(row[1].cpuSeconds / row[2].cpuSeconds);
        switches.push_back(row[0].switches / (seconds / kWindows) / kCyclesPerSecond);
        liveSwitches.push_back(row[1].switches / (seconds / kWindows) / kCyclesPerSecond);
        busyCpu += row[0].cpuSeconds;
    }
    bool good = report("CPU while a sine plays", median(cpu), "x pw-record", 1.0);
    good = report("CPU while a sine plays, engine read live", median(liveCpu), "x pw-record", 1.0) && good;
    good = report("context switches, nobody reads", median(switches), "x graph cycles", 1.4) && good;
    good = report("context switches, engine read live", median(liveSwitches), "x graph cycles", 2.4) && good;
    const double retained = session.retainedSeconds();
    if (retained < seconds) throw std::runtime_error("nothing was captured");
    const double beyondRing = megabytesBeyondRing(program.pid(), retained);
    good = report("resident memory beyond the ring", beyondRing, "MB", 40) && good;

    player.end();
    recorder.end(); // it keeps the sink awake
    if (!support::eventually([&] { return session.state() == "suspended"; })) {
        std::printf("the sink does not suspend\n");
        return false;
    }
    double idleCpu = 0;
    for (const auto& row : watch({program.pid()}, seconds / 3))
        idleCpu += row[0].cpuSeconds;
    good =
        report("CPU while nothing plays, the sink suspended", 3 * idleCpu / busyCpu, "x while a sine plays", 1.0) &&
        good;
    return good && session.state() == "suspended";
}

/// The engine alone, as a window that shows the live picture would drive it.
int runLiveEngine() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    SystemClock clock;
    StderrLogSink log(nullptr);
    LockedAudioMemory memory(log);
    ThreadSerialQueue mainQueue("com.rewindle.main");
    PipeWireLoopQueue captureQueue("com.rewindle.audio");
    PipeWireLoopQueue controlQueue("com.rewindle.audio.control");
    PipeWireAudioHardware hardware(controlQueue, captureQueue, clock, log);
    std::optional<Rewindle> engine;
    mainQueue.sync([&] {
        engine.emplace(
            RecordingDuration::fiveMinutes, 0.0F,
            Rewindle::Services{hardware, captureQueue, controlQueue, mainQueue, clock, memory, log, getpid()});
        engine->setLive(true);
        engine->start({});
    });
    int received = 0;
    sigwait(&signals, &received);
    std::promise<void> stopped;
    mainQueue.sync([&] { engine->stop([&] { stopped.set_value(); }); });
    stopped.get_future().wait();
    mainQueue.sync([&] { engine.reset(); });
    return 0;
}

} // namespace
} // namespace rewindle::bench

int main(int argc, char** argv) {
    if (argc > 1 && !std::strcmp(argv[1], "--live-engine")) return rewindle::bench::runLiveEngine();
    return rewindle::bench::measureAsTold(argc, argv, rewindle::bench::measure);
}
