#include "meter/CaptureLevelMeter.h"

#include "fakes/ManualClock.h"

#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <thread>
#include <vector>

namespace rewindle::test {
namespace {

class CaptureLevelMeterTest : public testing::Test {
protected:
    void ingest(float peak) {
        float left[] = {0.0F, peak}, right[] = {-peak, 0.0F};
        meter.ingest({.frameLength = 2, .channels = {left, right}});
    }
    /// Passes time in steps, as an interface does that advances the meter once per frame.
    void pass(double seconds, int steps = 1) {
        for (int i = 0; i < steps; ++i) {
            clock.advance(std::chrono::nanoseconds(std::llround(seconds / steps * 1e9)));
            meter.advance(seconds / steps);
        }
    }
    void expectBoth(float displayDb, float holdDb) {
        for (const int channel : {0, 1}) {
            SCOPED_TRACE(channel);
            EXPECT_NEAR(meter.displayDb(channel), displayDb, 1e-3F);
            EXPECT_NEAR(meter.holdDb(channel), holdDb, 1e-3F);
        }
    }

    ManualClock clock;
    CaptureLevelMeter meter{clock};
};

TEST_F(CaptureLevelMeterTest, ShowsNothingBeforeTheFirstAudioAndTheFloorForSilence) {
    pass(10);
    expectBoth(-80, -80);
    ingest(0.0F);
    expectBoth(-48, -48);
}

TEST_F(CaptureLevelMeterTest, FindsTheLargestMagnitudeOfEachChannelWhereverItIs) {
    for (const std::size_t frames : {1U, 3U, 4U, 17U, 64U, 480U, 2048U}) {
        for (const std::size_t at : {std::size_t{0}, frames / 2, frames - 1}) {
            SCOPED_TRACE(testing::Message() << frames << " frames, peak at " << at);
            CaptureLevelMeter fresh(clock);
            std::vector<float> left(frames, 0.01F);
            std::vector<float> right(frames, -0.001F);
            left[at] = -0.5F;
            right[at] = 2.0F;
            fresh.ingest({.frameLength = static_cast<std::int64_t>(frames), .channels = {left.data(), right.data()}});
            EXPECT_FLOAT_EQ(fresh.displayDb(0), 20.0F * std::log10(0.5F));
            EXPECT_FLOAT_EQ(fresh.displayDb(1), 20.0F * std::log10(2.0F));
            EXPECT_FLOAT_EQ(fresh.peakHoldDb(), fresh.holdDb(1));
        }
    }
}

TEST_F(CaptureLevelMeterTest, IgnoresBuffersInAnotherFormatAndSamplesThatAreNoNumbers) {
    std::vector<float> samples(8, 1.0F);
    meter.ingest({.frameLength = 8, .channelCount = 1, .channels = {samples.data(), nullptr}});
    meter.ingest({.frameLength = 0, .channels = {samples.data(), samples.data()}});
    expectBoth(-80, -80);
    for (std::size_t at = 0; at < 20; ++at) {
        SCOPED_TRACE(at);
        CaptureLevelMeter fresh(clock);
        std::vector<float> broken(20, std::numeric_limits<float>::quiet_NaN());
        broken[at] = -0.5F;
        fresh.ingest({.frameLength = 20, .channels = {broken.data(), broken.data()}});
        EXPECT_FLOAT_EQ(fresh.displayDb(0), 20.0F * std::log10(0.5F));
    }
    ingest(std::numeric_limits<float>::infinity());
    pass(60, 60);
    expectBoth(-48, -48);
}

TEST_F(CaptureLevelMeterTest, TheLevelFallsExponentiallyTowardsTheFloorAndSnapsToIt) {
    for (const int steps : {1, 10, 120}) {
        SCOPED_TRACE(steps);
        ingest(1.0F);
        expectBoth(0, 0);
        pass(0.3, steps);
        for (const int channel : {0, 1})
            EXPECT_NEAR(meter.displayDb(channel), 48.0F / std::exp(1.0F) - 48.0F, 1e-3F);
        pass(1.7, steps); // 2.0 s in all: 0.06 dB above the floor
        EXPECT_GT(meter.displayDb(0), -48.0F);
        pass(0.1, steps); // 2.1 s: past 0.3 ln(48 / 0.05) = 2.06 s
        EXPECT_EQ(meter.displayDb(0), -48.0F);
        pass(10, 10);
    }
}

TEST_F(CaptureLevelMeterTest, TheHeldPeakStaysForOneAndAHalfSecondsThenFallsToTheFloor) {
    ingest(1.0F);
    pass(1.498); // in one step: the rounding of many would miss the very moment
    EXPECT_EQ(meter.peakHoldDb(), 0.0F);
    pass(0.002);
    EXPECT_NEAR(meter.peakHoldDb(), -0.04F, 1e-4F);
    pass(1.0, 60);
    EXPECT_NEAR(meter.peakHoldDb(), -20.04F, 1e-3F);
    pass(2.0, 60);
    EXPECT_EQ(meter.peakHoldDb(), -48.0F);
}

TEST_F(CaptureLevelMeterTest, AnEqualPeakHoldsAnewAndASmallerOneDoesNot) {
    ingest(1.0F);
    pass(1.4);
    ingest(1.0F);
    pass(1.4);
    expectBoth(48.0F * std::exp(-1.4F / 0.3F) - 48.0F, 0);
    ingest(0.5F);
    pass(0.2);
    EXPECT_NEAR(meter.peakHoldDb(), -4.0F, 1e-3F);
}

TEST_F(CaptureLevelMeterTest, NoTimeOrTimeBackwardsChangesNothing) {
    ingest(1.0F);
    clock.advance(std::chrono::seconds(5));
    for (const double dt : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()})
        meter.advance(dt);
    expectBoth(0, 0);
}

TEST(CaptureLevelMeterScaleTest, IsLinearInDecibelsBetweenItsEnds) {
    const std::pair<float, double> cases[] = {{-80, 0}, {-48, 0}, {-18, 0.5}, {0, 0.8}, {6, 0.9}, {12, 1}, {40, 1}};
    for (const auto& [db, fraction] : cases)
        EXPECT_DOUBLE_EQ(CaptureLevelMeter::fraction(db), fraction) << db;
}

TEST(CaptureLevelMeterScaleTest, ReadsOutSignedTenthsAndInfinityNearTheFloor) {
    const std::pair<float, std::string> cases[] = {{-80, "−∞"}, {-47.5F, "−∞"},  {-47.4F, "-47.4"}, {-6, "-6.0"},
                                                   {0, "+0.0"}, {6.02F, "+6.0"}, {12.34F, "+12.3"}};
    for (const auto& [db, text] : cases)
        EXPECT_EQ(CaptureLevelMeter::readoutText(db), text);
}

TEST(CaptureLevelMeterThreads, NoReadingIsEverTornOrOutOfRange) {
    const SystemClock clock;
    CaptureLevelMeter meter(clock);
    std::atomic<bool> done{false};
    std::jthread captureQueue([&] {
        std::vector<float> samples(64, 1.0F);
        for (int i = 0; i < 20'000; ++i) {
            samples[7] = i % 2 == 0 ? 1.5F : 0.001F;
            meter.ingest({.frameLength = 64, .channels = {samples.data(), samples.data()}});
        }
        done = true;
    });
    for (bool last = false; !last;) {
        last = done;
        meter.advance(0.001);
        for (const int channel : {0, 1}) {
            for (const float db :
                 {meter.displayDb(channel), meter.holdDb(channel), meter.recentLevels().displayDb[0]}) {
                ASSERT_TRUE(db == CaptureLevelMeter::kInitialDb || (db >= -48.0F && db < 4.0F)) << db;
            }
        }
    }
}

} // namespace
} // namespace rewindle::test
