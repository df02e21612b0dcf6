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

TEST_F(LevelMeterReaderTest, ARareReaderSeesTheAudioThatPlaysNow) {
    for (int i = 0; i < 1000; ++i) { // 20 s that become softer all the time
        ingest(1.0F - 0.0005F * static_cast<float>(i), 0.25F);
        clock.advance(milliseconds(20));
    }
    const MeterLevels levels = reader.read();
    const float newestDb = 20.0F * std::log10(1.0F - 0.0005F * 999.0F);
    EXPECT_NEAR(levels.displayDb[0], (newestDb + 48.0F) * std::exp(-0.02F / 0.3F) - 48.0F, 1e-2F);
    EXPECT_NEAR(levels.holdDb[0], newestDb, 1e-3F);
    EXPECT_NEAR(levels.holdDb[1], -12.0412F, 1e-3F);
}

TEST_F(LevelMeterReaderTest, ARareReaderDoesNotSeeAudioThatEndedLongAgo) {
    ingest(1.0F, 1.0F);
    clock.advance(seconds(60));
    const MeterLevels levels = reader.read();
    EXPECT_EQ(levels.displayDb, (std::array{-48.0F, -48.0F}));
    EXPECT_EQ(levels.holdDb, (std::array{-48.0F, -48.0F}));
}

} // namespace
} // namespace rewindle::test
