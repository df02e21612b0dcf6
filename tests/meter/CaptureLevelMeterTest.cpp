#include "meter/CaptureLevelMeter.h"

#include "fakes/ManualClock.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
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
    void expectBoth(float displayDB, float holdDB) {
        for (const int channel : {0, 1}) {
            SCOPED_TRACE(channel);
            EXPECT_NEAR(meter.displayDB(channel), displayDB, displayDB == -48 ? 0 : 1e-4F);
            EXPECT_NEAR(meter.holdDB(channel), holdDB, holdDB == 0 || holdDB == -48 ? 0 : 1e-4F);
        }
    }

    ManualClock clock;
    CaptureLevelMeter meter{clock};
};

TEST_F(CaptureLevelMeterTest, ALevelFallsExponentiallyAndItsPeakIsHeldAndThenFallsInAStraightLineToTheFloor) {
    const auto fallen = [](float seconds) { return 48.0F * std::exp(-seconds / 0.3F) - 48.0F; };
    const struct {
        std::optional<float> peak; // that comes
        double seconds;            // that pass then
        int steps;
        float displayDB, holdDB;
    } timeline[] = {
        {{}, 10, 1, -80, -80}, // nothing came yet
        {0.0F, 0, 1, -48, -48},
        {1.0F, 0, 1, 0, 0},
        {{}, 0.3, 1, fallen(0.3F), 0},
        {{}, 1.198, 1, fallen(1.498F), 0}, // in one step: the rounding of many would miss the very moment
        {{}, 0.002, 1, fallen(1.5F), -0.04F},
        {{}, 0.5, 30, fallen(2.0F), -10.04F}, // 0.06 dB above the floor
        {{}, 0.1, 6, -48, -12.04F},           // past 0.3 ln(48 / 0.05) = 2.06 s
        {{}, 2, 60, -48, -48},
        {1.0F, 1.4, 120, fallen(1.4F), 0},
        {1.0F, 1.4, 1, fallen(1.4F), 0},                                  // an equal peak holds anew
        {0.5F, 0.2, 1, (48 - 6.0206F) * std::exp(-0.2F / 0.3F) - 48, -4}, // a smaller one does not
    };
    for (const auto& [peak, seconds, steps, displayDB, holdDB] : timeline) {
        SCOPED_TRACE(testing::Message() << displayDB << " dB, " << holdDB << " dB held");
        if (peak) ingest(*peak);
        pass(seconds, steps);
        expectBoth(displayDB, holdDB);
    }
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
            EXPECT_FLOAT_EQ(fresh.displayDB(0), 20.0F * std::log10(0.5F));
            EXPECT_FLOAT_EQ(fresh.displayDB(1), 20.0F * std::log10(2.0F));
            EXPECT_FLOAT_EQ(fresh.peakHoldDB(), fresh.holdDB(1));
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
        EXPECT_FLOAT_EQ(fresh.displayDB(0), 20.0F * std::log10(0.5F));
    }
    ingest(std::numeric_limits<float>::infinity());
    pass(60, 60);
    expectBoth(-48, -48);
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

} // namespace
} // namespace rewindle::test
