#include "capture/signal/StereoMixdown.h"
#include "capture/tap/TapFifo.h"
#include "capture/tap/TapTimeAxis.h"

#include <gtest/gtest.h>

#include <array>
#include <numeric>
#include <random>
#include <thread>

namespace rewindle::test {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr auto kDirectly = TapFifo::Follows::directly;

/// Appends everything that waits to `out`, channel by channel. The time of a cycle is the number of frames before it.
void readAll(TapFifo& fifo, std::vector<std::vector<float>>& out, std::uint64_t& lost) {
    out.resize(fifo.channels());
    while (const auto* cycle = fifo.front()) {
        ASSERT_EQ(cycle->nanoseconds, std::ssize(out[0]));
        lost += cycle->lostBefore;
        // The record is seen once per cycle here: a cycle is consumed before the next look.
        for (std::size_t left = cycle->frames; left > 0;) {
            const auto piece = fifo.contiguousFrames();
            for (std::size_t c = 0; c < fifo.channels(); ++c) {
                out[c].insert(out[c].end(), fifo.data(c), fifo.data(c) + piece);
            }
            fifo.consume(piece);
            left -= piece;
        }
    }
}

TEST(TapFifo, KeepsCyclesInOrderAtEveryWrapAndReportsWhatDidNotFit) {
    TapFifo fifo(1000, 2); // 1024 frames
    std::mt19937 random(7);
    std::vector<std::vector<float>> received;
    std::vector<float> sent;
    std::uint64_t lost = 0;
    std::uint64_t refused = 0;
    float next = 1;
    for (int step = 0; step < 3000; ++step) {
        std::vector<float> cycle(1 + random() % 300);
        for (float& sample : cycle)
            sample = next++;
        const std::array<const float*, 2> channels{cycle.data(), nullptr};
        const bool fits = cycle.size() <= fifo.capacityFrames() - fifo.waitingFrames();
        const auto frames = static_cast<std::uint32_t>(cycle.size());
        ASSERT_EQ(fifo.write({std::ssize(sent), frames, 0, kDirectly}, channels), fits);
        if (fits) sent.insert(sent.end(), cycle.begin(), cycle.end());
        if (!fits) refused += cycle.size();
        if (random() % 4 == 0) readAll(fifo, received, lost);
        if (next > 1e6F) next = 1; // stays exact in a float
    }
    const std::array<const float*, 2> none{nullptr, nullptr};
    readAll(fifo, received, lost);
    ASSERT_TRUE(fifo.write({std::ssize(sent), 1, 0, kDirectly}, none)); // carries the count of what was lost last
    readAll(fifo, received, lost);
    sent.push_back(0);
    EXPECT_EQ(received[0], sent);
    EXPECT_EQ(received[1], std::vector<float>(sent.size(), 0.0F));
    EXPECT_GT(refused, 0U);
    EXPECT_EQ(lost, refused);
    EXPECT_EQ(fifo.overrunFrames(), refused);
    EXPECT_LE(fifo.overruns(), refused);
}

TEST(TapFifoThreads, LosesAndTearsNothingBetweenWriterAndReader) {
    TapFifo fifo(4096, 2);
    constexpr float kLast = 400'000;
    std::jthread writer([&] {
        std::mt19937 random(3);
        for (float next = 0; next < kLast;) {
            std::vector<float> cycle(64 + random() % 500);
            for (std::size_t i = 0; i < cycle.size(); ++i)
                cycle[i] = next + static_cast<float>(i);
            const std::array<const float*, 2> channels{cycle.data(), cycle.data()};
            const auto frames = static_cast<std::uint32_t>(cycle.size());
            if (fifo.write({static_cast<std::int64_t>(next), frames, 0, kDirectly}, channels)) {
                next += static_cast<float>(frames);
            }
        }
    });
    std::vector<std::vector<float>> received(2);
    std::uint64_t refused = 0; // and written again
    while (static_cast<float>(received[0].size()) < kLast)
        ASSERT_NO_FATAL_FAILURE(readAll(fifo, received, refused));
    std::vector<float> expected(received[0].size());
    std::iota(expected.begin(), expected.end(), 0.0F);
    EXPECT_EQ(received, std::vector(2, expected));
}

TEST(TapTimeAxis, CountsTimeThroughSuspendResumeAndAnUneasyClock) {
    // One minute of cycles at a rate 80 ppm off, stamped with jitter, with suspensions between: frames =
    // time.
    std::mt19937 random(11);
    std::uniform_real_distribution<double> jitter(-2e6, 2e6);
    for (const double rate : {44'100.0, 48'000.0, 192'000.0}) {
        SCOPED_TRACE(rate);
        TapTimeAxis axis(rate, 5 * kSecond);
        constexpr std::uint32_t kCycle = 1024;
        double time = 5e9;
        std::int64_t frames = 0;
        for (int burst = 0; burst < 6; ++burst) {
            for (double until = time + 7e9; time < until; time += kCycle / rate * 1e9 * (1 - 80e-6)) {
                const auto stamp = static_cast<std::int64_t>(time + jitter(random));
                const bool first = time + 7e9 == until;
                const auto silence = axis.silenceBeforeCycle(stamp, kCycle, !first);
                ASSERT_TRUE(first || silence == 0);
                frames += silence + kCycle;
            }
            for (double until = time + 3e9; time < until; time += 0.4e9) {
                frames += axis.silenceWhileIdle(static_cast<std::int64_t>(time));
            }
        }
        frames += axis.silenceBeforeCycle(static_cast<std::int64_t>(time), 0, false);
        EXPECT_NEAR(static_cast<double>(frames) / rate, time / 1e9 - 5, 0.02);
    }
}

TEST(TapTimeAxis, FillsBreaksAndStallsButNotLatenessAndTakesBackWhatItFilledTooEarly) {
    enum Event { idle, cycle, nextCycle }; // a cycle after a break, one that follows the cycle before
    struct Step {
        std::int64_t milliseconds;
        Event event;
        std::int64_t silence;
    };
    const std::vector<Step> histories[] = {
        // 400 ms late: caught up later. A stall of 2 s, less the 0.4 ms that were followed. Cycles that were skipped.
        {{0, cycle, 0}, {410, nextCycle, 0}, {2'020, nextCycle, 95'980}, {2'030, nextCycle, 0}, {2'060, cycle, 960}},
        // Breaks that are each too short to tell from jitter add up.
        {{0, cycle, 0}, {13, cycle, 0}, {26, cycle, 288}, {39, cycle, 0}, {52, cycle, 288}},
        // None before the first cycle, unless that is long in coming.
        {{150, idle, 0}, {180, cycle, 0}, {290, cycle, 4'800}},
        {{1'000, idle, 38'400}, {1'000, cycle, 9'600}},
        // Filled up to 0.8 s; a late one's place was taken; 1.49 s, less 0.3 s; up to 2.8 s; and it was only late.
        {{1'000, idle, 38'400},
         {500, cycle, 0},
         {2'000, cycle, 480 * 149 - 14'400},
         {3'000, idle, 37'920},
         {2'010, nextCycle, 0},
         {4'000, cycle, 480 * 198 - 37'920}},
    };
    for (const auto& history : histories) {
        TapTimeAxis axis(48'000, 0);
        for (const auto& [milliseconds, event, silence] : history) {
            const auto time = milliseconds * 1'000'000;
            ASSERT_EQ(event == idle ? axis.silenceWhileIdle(time)
                                    : axis.silenceBeforeCycle(time, 480, event == nextCycle),
                      silence)
                << milliseconds;
        }
    }
}

TEST(StereoMixdown, FollowsTheBroadcastCoefficients) {
    struct Case {
        std::vector<std::string> positions;
        std::array<double, 2> fromOnes; // what a 1 in every channel gives
    };
    const double c = 0.70710678;
    const Case cases[] = {
        {{"MONO"}, {1, 1}},
        {{"FL"}, {1, 1}}, // a single channel feeds both sides, whatever its name
        {{"FL", "FR"}, {1, 1}},
        {{"FL", "FR", "FC", "LFE", "RL", "RR"}, {1 + 2 * c, 1 + 2 * c}},
        {{"FL", "FR", "FC", "LFE", "RL", "RR", "SL", "SR"}, {1 + 3 * c, 1 + 3 * c}},
        {{"AUX0", "AUX1", "AUX2"}, {2, 1}},
        {{"FL", "FR", "RC", "TFL"}, {1.5 + c, 1.5}},
    };
    for (const Case& test : cases) {
        SCOPED_TRACE(test.positions.size());
        const StereoMixdown mixdown(test.positions);
        const std::vector<float> ones(5, 1.0F);
        const std::vector<const float*> channels(test.positions.size(), ones.data());
        std::vector<float> left(5, 9.0F);
        std::vector<float> right(5, 9.0F);
        mixdown.process(channels, left.data(), right.data(), 5);
        EXPECT_NEAR(left[4], test.fromOnes[0], 1e-6);
        EXPECT_NEAR(right[4], test.fromOnes[1], 1e-6);
        EXPECT_EQ(mixdown.isPassThrough(), test.positions == std::vector<std::string>({"FL", "FR"}));
    }
}

} // namespace
} // namespace rewindle::test
