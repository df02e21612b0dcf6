#include "meter/LevelMeterReader.h"

#include "fakes/ManualClock.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class LevelMeterReaderTest : public testing::Test {
protected:
    void ingest(float left, float right) { meter.ingest({.frameLength = 1, .channels = {&left, &right}}); }

    ManualClock clock;
    CaptureLevelMeter meter{clock};
    LevelMeterReader reader{meter, clock};
};

TEST_F(LevelMeterReaderTest, ManyReadersReleaseTheMeterNoFasterThanOne) {
    ingest(1.0F, 0.5F);
    for (int i = 0; i < 30; ++i) {
        clock.advance(milliseconds(10));
        for (int readers = 0; readers < 5; ++readers)
            (void)reader.read();
    }
    const MeterLevels levels = reader.read();
    EXPECT_NEAR(levels.displayDb[0], 48.0F / std::exp(1.0F) - 48.0F, 1e-3F);
    EXPECT_NEAR(levels.displayDb[1], (48.0F - 6.0206F) / std::exp(1.0F) - 48.0F, 1e-3F);
    EXPECT_EQ(levels.holdDb[0], 0.0F);
    EXPECT_NEAR(levels.holdDb[1], -6.0206F, 1e-3F);
}

TEST_F(LevelMeterReaderTest, ARareReaderSeesWhatAConstantOneSees) {
    CaptureLevelMeter watchedMeter(clock);
    LevelMeterReader watching(watchedMeter, clock);
    MeterLevels seen;
    for (int i = 0; i < 2000; ++i) { // 20 s of beats twice a second, softer all the time, in buffers of 10 ms
        float left = i % 50 == 0 ? 1.0F - 0.0004F * static_cast<float>(i) : 0.02F;
        float right = 0.25F;
        for (auto* each : {&meter, &watchedMeter})
            each->ingest({.frameLength = 1, .channels = {&left, &right}});
        clock.advance(milliseconds(10));
        seen = watching.read();
    }
    const MeterLevels levels = reader.read();
    for (const std::size_t channel : {0U, 1U}) {
        SCOPED_TRACE(channel);
        EXPECT_NEAR(levels.displayDb[channel], seen.displayDb[channel], 0.01F);
        EXPECT_NEAR(levels.holdDb[channel], seen.holdDb[channel], 0.01F);
    }
    EXPECT_GT(levels.holdDb[0], levels.displayDb[0] + 10.0F); // the last beat is half a second old
    EXPECT_NEAR(levels.holdDb[1], -12.0412F, 1e-3F);
    clock.advance(seconds(60)); // of nothing new
    const MeterLevels late = reader.read();
    EXPECT_EQ(late.displayDb, (std::array{-48.0F, -48.0F}));
    EXPECT_EQ(late.holdDb, (std::array{-48.0F, -48.0F}));
}

} // namespace
} // namespace rewindle::test
