// What it costs to listen all day: the whole program beside a stock recorder of the same sink, on a private
// session.
//
// capture_load [SECONDS]    measures for so long (60) while a sine plays, then for a third of it while
// nothing does

#include "base/ThreadSerialQueue.h"
#include "capture/Rewindle.h"
#include "platform/files/LockedAudioMemory.h"
#include "platform/pipewire/PipeWireAudioHardware.h"
#include "support/PrivateSession.h"
#include "support/Sound.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <future>
#include <numbers>
#include <string>
#include <thread>
#include <unistd.h>

namespace rewindle::bench {
namespace {

using namespace std::chrono_literals;
using support::PrivateSession;
using support::Process;

constexpr int kQuantum = 1024;
constexpr double kCyclesPerSecond = 48'000.0 / kQuantum;
constexpr int kWindows = 12;

struct Usage {
    double cpuSeconds = 0;
    double switches = 0;
    Usage operator-(const Usage& other) const { return {cpuSeconds - other.cpuSeconds, switches - other.switches}; }
};

double numberAfter(std::istream& file, const std::string& key) {
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(key, 0) == 0) return std::stod(line.substr(key.size() + 1));
    }
    return 0;
}

/// Of all threads of a process, so far.
Usage usageOf(pid_t pid) {
    Usage sum;
    for (const auto& task : std::filesystem::directory_iterator("/proc/" + std::to_string(pid) + "/task")) {
        double nanoseconds = 0;
        std::ifstream(task.path() / "schedstat") >> nanoseconds;
        sum.cpuSeconds += nanoseconds / 1e9;
        std::ifstream status(task.path() / "status");
        sum.switches += numberAfter(status, "voluntary_ctxt_switches:");
        sum.switches += numberAfter(status, "nonvoluntary_ctxt_switches:");
    }
    return sum;
}

double residentMegabytes(pid_t pid) {
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    return numberAfter(status, "VmRSS:") / 1024;
}

double median(std::vector<double> values) {
    std::ranges::sort(values);
    return values[values.size() / 2];
}

bool report(const char* name, double value, const char* unit, double required) {
    std::printf("%-52s %8.2f %-37s (at most %.2f) %s\n", name, value, unit, required,
                value <= required ? "" : "TOO MUCH");
    std::fflush(stdout);
    return value <= required;
}

/// Usage of several processes over the same windows of time, one row per window.
std::vector<std::vector<Usage>> watch(const std::vector<pid_t>& pids, double seconds) {
    std::vector<std::vector<Usage>> rows;
    const auto read = [&] {
        std::vector<Usage> now;
        for (const pid_t pid : pids)
            now.push_back(usageOf(pid));
        return now;
    };
    auto before = read();
    for (int window = 0; window < kWindows; ++window) {
        std::this_thread::sleep_for(std::chrono::duration<double>(seconds / kWindows));
        auto now = read();
        auto& row = rows.emplace_back();
        for (std::size_t i = 0; i < pids.size(); ++i)
            row.push_back(now[i] - before[i]);
        before = std::move(now);
    }
    return rows;
}

support::Sound sine(double seconds) {
    support::Sound sound{std::vector<float>(2 * static_cast<std::size_t>(seconds * 48'000)), 48'000};
    for (std::size_t i = 0; i < sound.samples.size(); ++i) {
        sound.samples[i] = 0.5F * static_cast<float>(std::sin(std::numbers::pi / 24 * static_cast<double>(i / 2)));
    }
    return sound;
}

int runLiveEngine();

int measure(double seconds) {
    const PrivateSession session;
    session.addDefaultSink("out");
    std::ignore = session.run("pw-metadata -n settings 0 clock.force-quantum " + std::to_string(kQuantum));
    save(sine(seconds + 10), session.folder() / "sine.wav");
    const std::string folder = session.folder().string();
    const Process program("exec " REWINDLE_BINARY " --headless --duration 300 2>" + folder + "/log");
    const Process live("exec /proc/" + std::to_string(getpid()) + "/exe --live-engine 2>" + folder + "/live-log");
    Process recorder("exec pw-record -P '{ stream.capture.sink=true }' --target out " + folder + "/record.wav");
    Process player("exec pw-play " + folder + "/sine.wav");
    const auto running = [&] { return session.session("state", "out") == "running"; };
    if (!support::eventually(running)) return 1;
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
    const double retained = std::stod(
        session.run(REWINDLE_BINARY " status --json | tr ',' '\\n' | sed -n 's/.*\"retained_seconds\": *//p'")
            .output);
    good = report("resident memory beyond the ring",
                  residentMegabytes(program.pid()) - retained * 48'000 * 8 / 1048576, "MB", 40) &&
           good;

    player.end();
    recorder.end(); // it keeps the sink awake
    if (!support::eventually([&] { return session.session("state", "out") == "suspended"; })) {
        std::printf("the sink does not suspend\n");
        return 1;
    }
    double idleCpu = 0;
    for (const auto& row : watch({program.pid()}, seconds / 3))
        idleCpu += row[0].cpuSeconds;
    good =
        report("CPU while nothing plays, the sink suspended", 3 * idleCpu / busyCpu, "x while a sine plays", 1.0) &&
        good;
    return good && session.session("state", "out") == "suspended" ? 0 : 1;
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
    return rewindle::bench::measure(argc > 1 ? std::stod(argv[1]) : 60);
}
