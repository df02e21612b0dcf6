#include "capture/tap/TapReceiver.h"

#include "base/ThreadSerialQueue.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/ManualClock.h"

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <cmath>
#include <optional>
#include <thread>

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::nanoseconds;

constexpr std::uint32_t kCycle = 960; // 20 ms
constexpr auto kCycleTime = 20ms;

/// A receiver of two channels at 48 kHz between an output and a listener that the test plays.
class TapReceiverTest : public testing::Test, protected OneShotTimer {
protected:
    TapReceiverTest() { makeReceiver(); }
    void set(nanoseconds delay) override { timerDue = clock.uptime() + delay; }

    void makeReceiver() {
        const auto collect = [this](AudioBufferList input) {
            const auto* samples = static_cast<const float*>(input[0].data);
            out.insert(out.end(), samples, samples + input[0].byteSize / sizeof(float));
        };
        tested.emplace(TapReceiver::Setup{48'000, {"FL", "FR"}, 2048}, clock, log, pace, troubles, collect,
                       TapReceiver::Handlers{
                           .onFormatChanged = [this](double rate) { reports.push_back(rate); },
                           .onStalled = [this](bool hadCycles) { reports.push_back(hadCycles ? 1 : 0); },
                       });
    }
    /// One cycle of `level` that began `late` ago; true when the receiver asks to be called.
    bool play(float level, nanoseconds late = 0ns, double rate = 48'000) {
        const std::vector<float> samples(kCycle, level);
        const std::array<const float*, 2> channels{samples.data(), samples.data()};
        const auto begun = clock.uptime() - late;
        const bool asks = tested->receive({begun.count(), position, kCycle, rate}, channels);
        position += kCycle;
        return asks;
    }
    /// Plays for `time`, handing over as asked and when the timer is due.
    void playFor(nanoseconds time, float level, nanoseconds late = 0ns) {
        for (const auto end = clock.uptime() + time; clock.uptime() < end;) {
            if (play(level, late)) tested->deliver();
            letPass(kCycleTime);
        }
    }
    void letPass(nanoseconds time) {
        const auto end = clock.uptime() + time;
        while (timerDue && *timerDue <= end) {
            clock.advance(std::max(*timerDue - clock.uptime(), 0ns));
            timerDue.reset();
            tested->timeIsUp();
        }
        clock.advance(end - clock.uptime());
    }
    [[nodiscard]] double secondsOut() const { return static_cast<double>(out.size()) / 48'000; }

    ManualClock clock;
    CapturingLogSink log;
    std::atomic<DeliveryPace> pace{DeliveryPace::relaxed};
    TroubleCounters troubles;
    std::uint64_t position = 0;
    std::optional<nanoseconds> timerDue;
    std::vector<float> out;      // the left channel
    std::vector<double> reports; // rates, and of stalls whether there had been cycles
    std::optional<TapReceiver> tested;
};

TEST_F(TapReceiverTest, StopsWithTheSoundItHeardButWithoutTheEmptyCyclesAroundIt) {
    std::vector<float> withSilenceInside{1};
    withSilenceInside.insert(withSilenceInside.end(), 40, 0.0F); // 0.8 s
    withSilenceInside.push_back(2);
    const std::vector<float> withSilenceLast(withSilenceInside.begin(), withSilenceInside.end() - 1);
    const std::vector<std::array<std::vector<float>, 2>> cases{{{{1, 2, 3}, {1, 2, 3}}},
                                                               {{{0, 1, 2, 0, 0}, {1, 2}}},
                                                               {{withSilenceInside, withSilenceInside}},
                                                               {{withSilenceLast, withSilenceLast}}};
    for (const auto& [levels, expected] : cases) {
        SCOPED_TRACE(testing::PrintToString(levels));
        out.clear();
        makeReceiver();
        tested->begin(*this);
        for (const float level : levels) {
            play(level);
            clock.advance(kCycleTime);
        }
        tested->end(); // finds all of them waiting
        std::vector<float> cycles;
        for (std::size_t i = 0; i < out.size(); i += kCycle)
            cycles.push_back(out[i]);
        EXPECT_EQ(cycles, expected);
    }
}

TEST_F(TapReceiverTest, CountsTimeThroughSuspendGapsAndOverrunsUpToTheLengthOfTheLongestRingBuffer) {
    tested->begin(*this);
    playFor(2s, 1);
    tested->markPaused(); // the output suspends
    letPass(10s);
    EXPECT_NEAR(secondsOut(), 12, 1.3) << "silence comes without a cycle, once a second";
    playFor(1s, 2);
    EXPECT_EQ(troubles.gaps, 0U);
    position += kCycle; // 300 ms of cycles that the graph skipped
    clock.advance(300ms);
    playFor(1s, 3);
    EXPECT_EQ(troubles.gaps, 1U);
    EXPECT_NEAR(static_cast<double>(troubles.gapFrames), 0.3 * 48'000, kCycle);

    for (int i = 0; i < 500; ++i) { // 10 s, held up: more than the FIFO takes
        play(4);
        clock.advance(kCycleTime);
    }
    play(5);
    tested->deliver();
    EXPECT_EQ(troubles.overruns, 1U);
    EXPECT_GT(troubles.overrunFrames, 4 * 48'000U);
    playFor(1s, 6);
    clock.advance(8h); // the process had been stopped
    playFor(2s, 7);
    tested->end();
    EXPECT_NEAR(secondsOut(), 25.3 + TapReceiver::kLongestSilenceSeconds + 2, 0.1);
    EXPECT_NEAR(static_cast<double>(std::count(out.begin(), out.end(), 6.0F)) / 48'000, 1, 1e-9);
}

TEST_F(TapReceiverTest, CountsFramesWhereTimesComeFromAnotherClock) {
    tested->begin(*this);
    playFor(1s, 1);
    const auto before = secondsOut();
    for (const auto wrong : {nanoseconds(24h), nanoseconds(11s), nanoseconds::max() - 48h, nanoseconds(-24h)}) {
        SCOPED_TRACE(wrong.count());
        playFor(2s, 2, wrong);
    }
    tested->deliver();
    EXPECT_NEAR(secondsOut(), before + 8, 0.7);
    EXPECT_EQ(std::count(out.begin(), out.end(), 0.0F), 0) << "silence between cycles that follow each other";
    EXPECT_THAT(log.lines(), testing::SizeIs(1));
    letPass(4s); // suspended, after a time that is still to come
    EXPECT_GT(secondsOut(), before + 10);
    playFor(2s, 3);
    tested->end();
    EXPECT_NEAR(secondsOut(), 15, 0.1);
}

TEST_F(TapReceiverTest, FindsNoFaultInASilentOutputWhoseTimesLieBehind) {
    for (const auto behind : {nanoseconds(5s), nanoseconds(24h)}) {
        SCOPED_TRACE(behind.count());
        out.clear();
        makeReceiver();
        tested->setSinkRunning(true);
        tested->begin(*this);
        playFor(8s, 0, behind);
        EXPECT_TRUE(reports.empty());
        tested->end();
        EXPECT_NEAR(secondsOut(), 8, 0.6);
    }
}

TEST_F(TapReceiverTest, ReportsOnceThatARunningOutputGivesNothingOrAnotherFormat) {
    tested->begin(*this);
    letPass(1min);
    EXPECT_TRUE(reports.empty()) << "an output that does not run";
    tested->setSinkRunning(true);
    letPass(1900ms);
    EXPECT_TRUE(reports.empty());
    letPass(1200ms); // the timer looks once a second
    EXPECT_THAT(reports, testing::ElementsAre(0));
    play(1, 0ns, 44'100);
    letPass(10s);
    EXPECT_EQ(reports.size(), 1U);
}

TEST_F(TapReceiverTest, ReportsAStallAfterSoundAndDropsCyclesOfAnotherRate) {
    tested->setSinkRunning(true);
    tested->begin(*this);
    playFor(5s, 1);
    EXPECT_TRUE(reports.empty());
    const auto frames = out.size();
    EXPECT_TRUE(play(2, 0ns, 44'100)) << "a change of the rate is told at once";
    EXPECT_FALSE(play(2, 0ns, 44'100));
    tested->deliver();
    EXPECT_THAT(reports, testing::ElementsAre(44'100));
    letPass(5s);
    tested->end();
    EXPECT_EQ(std::count(out.begin(), out.end(), 2.0F), 0);
    EXPECT_LT(out.size() - frames, 48'000U) << "a restart's gap is not filled";
}

TEST_F(TapReceiverTest, AsksOnceForWhatThePaceWants) {
    tested->begin(*this);
    pace = DeliveryPace::live;
    EXPECT_TRUE(play(1)) << "480 frames wait";
    EXPECT_FALSE(play(1)) << "asked already";
    tested->deliver();
    EXPECT_TRUE(play(1));
    tested->deliver();
    pace = DeliveryPace::relaxed;
    int cycles = 1;
    while (!play(1) && cycles < 1'000)
        ++cycles;
    EXPECT_NEAR(cycles * 0.02, 2.7, 0.1) << "half of the FIFO, a power of two above 4 s";
    tested->mute();
    tested->deliver();
    const auto frames = out.size();
    pace = DeliveryPace::live;
    EXPECT_FALSE(play(9));
    tested->end();
    EXPECT_EQ(out.size(), frames) << "muted";
}

TEST(TapReceiverThreads, AsksBeforeTooMuchWaitsAndLosesNothing) {
    struct NoTimer final : OneShotTimer {
        void set(nanoseconds) override {}
    } timer;
    const ManualClock clock; // stands still, so that no time is missing however slow the threads are
    CapturingLogSink log;
    const std::atomic<DeliveryPace> pace{DeliveryPace::live};
    TroubleCounters troubles;
    std::size_t frames = 0; // on the queue only
    const auto collect = [&](AudioBufferList input) { frames += input[0].byteSize / sizeof(float); };
    TapReceiver receiver{{48'000, {"FL", "FR"}, 2048}, clock, log, pace, troubles, collect, {}};
    ThreadSerialQueue queue("capture");
    queue.sync([&] { receiver.begin(timer); });
    constexpr std::uint32_t kFrames = 64;
    constexpr std::size_t kCycles = 20'000;
    std::jthread([&] { // the audio thread
        const std::vector<float> samples(kFrames, 1);
        const std::array<const float*, 2> channels{samples.data(), samples.data()};
        for (std::size_t cycle = 0; cycle < kCycles; ++cycle) {
            const auto position = cycle * kFrames;
            if (receiver.receive({clock.uptime().count(), position, kFrames, 48'000}, channels)) {
                queue.async([&] { receiver.deliver(); });
            }
            if (cycle % 64 == 63) queue.sync([] {}); // or the FIFO would overrun: real cycles come slowly
        }
    })
        .join();
    queue.sync([&] { EXPECT_GE(frames + 480, kCycles * kFrames) << "a wake-up was lost"; });
    queue.sync([&] { receiver.end(); });
    EXPECT_EQ(frames, kCycles * kFrames);
    EXPECT_EQ(troubles.overruns, 0U);
}

} // namespace
} // namespace rewindle::test
