#include "meter/LevelMeterReader.h"

#include "fakes/ManualClock.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

TEST(LevelMeterReaderTest, ARareReaderSeesWhatManyConstantOnesSee) {
    ManualClock clock;
    CaptureLevelMeter meter(clock), watchedMeter(clock);
    LevelMeterReader reader(meter, clock), watching(watchedMeter, clock);
    MeterLevels seen;
    for (int i = 0; i < 2000; ++i) { // 20 s of beats twice a second, softer all the time, in buffers of 10 ms
        float left = i % 50 == 0 ? 1.0F - 0.0004F * static_cast<float>(i) : 0.001F;
        float right = 0.25F;
        for (auto* each : {&meter, &watchedMeter})
            each->ingest({.frameLength = 1, .channels = {&left, &right}});
        clock.advance(milliseconds(10));
        for (int readers = 0; readers < 5; ++readers)
            seen = watching.read();
    }
    const MeterLevels levels = reader.read();
    for (const std::size_t channel : {0U, 1U}) {
        SCOPED_TRACE(channel);
        EXPECT_NEAR(levels.displayDB[channel], seen.displayDB[channel], 0.01F);
        EXPECT_NEAR(levels.holdDB[channel], seen.holdDB[channel], 0.01F);
    }
    const float beatDB = 20 * std::log10(0.22F); // of the last one, half a second ago
    EXPECT_NEAR(levels.displayDB[0], (beatDB + 48) * std::exp(-0.5F / 0.3F) - 48, 0.01F);
    EXPECT_GT(levels.holdDB[0], levels.displayDB[0] + 10.0F);
    EXPECT_NEAR(levels.holdDB[1], -12.0412F, 1e-3F);
    clock.advance(seconds(60)); // of nothing new
    const MeterLevels late = reader.read();
    EXPECT_EQ(late.displayDB, (std::array{-48.0F, -48.0F}));
    EXPECT_EQ(late.holdDB, (std::array{-48.0F, -48.0F}));
}

} // namespace
} // namespace rewindle::test
