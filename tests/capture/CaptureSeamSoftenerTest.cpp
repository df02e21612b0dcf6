#include "capture/CaptureSeamSoftener.h"

#include "fakes/AllocationCounter.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <vector>

namespace rewindle::test {
namespace {

/// The gains that a softener gives to the next frames, seen through a signal of ones on the left and minus
/// ones on the right, given to it in buffers of `bufferFrames`.
std::vector<float> gains(CaptureSeamSoftener& softener, std::size_t frames, std::size_t bufferFrames = 2048) {
    std::vector<float> left(frames, 1.0F);
    std::vector<float> right(frames, -1.0F);
    for (std::size_t done = 0; done < frames; done += bufferFrames) {
        const auto length = static_cast<std::int64_t>(std::min(bufferFrames, frames - done));
        softener.process({.frameLength = length, .channels = {left.data() + done, right.data() + done}});
    }
    for (std::size_t i = 0; i < frames; ++i)
        EXPECT_EQ(right[i], -left[i]) << "frame " << i;
    return left;
}

const std::size_t kBufferSizes[] = {1, 7, 64, 256, 479, 480, 481, 2048};
const float kPlus6 = std::pow(10.0F, 6.0F / 20.0F);

TEST(CaptureSeamSoftenerTest, LeavesEveryBitAloneAtUnityGain) {
    CaptureSeamSoftener softener;
    softener.setGain(0, true);
    const float awkward[] = {0.0F,
                             -0.0F,
                             1.5F,
                             std::numeric_limits<float>::denorm_min(),
                             std::bit_cast<float>(0x7FA0'0001U),
                             std::numeric_limits<float>::infinity()};
    std::vector<float> left(std::begin(awkward), std::end(awkward));
    std::vector<float> right = left;
    softener.process({.frameLength = 6, .channels = {left.data(), right.data()}});
    for (std::size_t i = 0; i < left.size(); ++i) {
        EXPECT_EQ(std::bit_cast<std::uint32_t>(left[i]), std::bit_cast<std::uint32_t>(awkward[i])) << i;
        EXPECT_EQ(std::bit_cast<std::uint32_t>(right[i]), std::bit_cast<std::uint32_t>(awkward[i])) << i;
    }
}

TEST(CaptureSeamSoftenerTest, GlidesInAStraightLineToExactlyTheNewGainWhateverTheBufferSize) {
    for (const std::size_t bufferFrames : kBufferSizes) {
        SCOPED_TRACE(bufferFrames);
        CaptureSeamSoftener softener;
        softener.setGain(6, true);
        const auto seen = gains(softener, 1500, bufferFrames);
        for (std::size_t i = 0; i < 479; ++i) {
            ASSERT_NEAR(seen[i], 1.0F + (kPlus6 - 1.0F) * static_cast<float>(i + 1) / 480.0F, 1e-5F) << i;
        }
        EXPECT_TRUE(std::all_of(seen.begin() + 479, seen.end(), [](float gain) { return gain == kPlus6; }));
    }
}

TEST(CaptureSeamSoftenerTest, AGainSetDuringAGlideStartsFromWhereTheGlideIs) {
    CaptureSeamSoftener softener;
    softener.setGain(20, true);
    const float reached = gains(softener, 240).back();
    ASSERT_NEAR(reached, 5.5F, 1e-4F);
    softener.setGain(0, true);
    const auto seen = gains(softener, 600);
    EXPECT_NEAR(seen[0], reached + (1.0F - reached) / 480.0F, 1e-4F);
    EXPECT_NEAR(seen[239], (reached + 1.0F) / 2.0F, 1e-4F);
    EXPECT_EQ(seen[479], 1.0F);
    EXPECT_EQ(seen[599], 1.0F);
}

TEST(CaptureSeamSoftenerTest, AGainSetWithoutGlideHoldsFromTheNextFrameOnAndEndsAGlide) {
    for (const bool gliding : {false, true}) {
        SCOPED_TRACE(gliding);
        CaptureSeamSoftener softener;
        if (gliding) {
            softener.setGain(20, true);
            (void)gains(softener, 100);
        }
        softener.setGain(-20, false);
        for (const float gain : gains(softener, 600))
            ASSERT_EQ(gain, 0.1F);
    }
}

TEST(CaptureSeamSoftenerTest, FadesInFromA480thToOneWhateverTheBufferSize) {
    for (const std::size_t bufferFrames : kBufferSizes) {
        SCOPED_TRACE(bufferFrames);
        CaptureSeamSoftener softener;
        softener.beginFadeIn();
        const auto seen = gains(softener, 1000, bufferFrames);
        for (std::size_t i = 0; i < 480; ++i)
            ASSERT_EQ(seen[i], static_cast<float>(i + 1) / 480.0F) << i;
        EXPECT_TRUE(std::all_of(seen.begin() + 480, seen.end(), [](float gain) { return gain == 1.0F; }));
    }
}

TEST(CaptureSeamSoftenerTest, ASecondRestartDuringAFadeInBeginsItAgain) {
    CaptureSeamSoftener softener;
    softener.beginFadeIn();
    ASSERT_EQ(gains(softener, 256).back(), 256.0F / 480.0F);
    softener.beginFadeIn();
    const auto seen = gains(softener, 480);
    EXPECT_EQ(seen[0], 1.0F / 480.0F);
    EXPECT_EQ(seen[479], 1.0F);
}

TEST(CaptureSeamSoftenerTest, AFadeInAndAGlideThatOverlapMultiply) {
    CaptureSeamSoftener softener;
    softener.beginFadeIn();
    (void)gains(softener, 100);
    softener.setGain(6, true);
    const auto seen = gains(softener, 600);
    for (std::size_t i = 0; i < 600; ++i) {
        const float fade = std::min(static_cast<float>(i + 101) / 480.0F, 1.0F);
        const float glide = 1.0F + (kPlus6 - 1.0F) * std::min(static_cast<float>(i + 1) / 480.0F, 1.0F);
        ASSERT_NEAR(seen[i], fade * glide, 2e-5F) << i;
    }
}

TEST(CaptureSeamSoftenerTest, AllocatesNothingWhileItFadesGlidesAndScales) {
    CaptureSeamSoftener softener;
    std::vector<float> samples(2048, 1.0F);
    softener.beginFadeIn();
    softener.setGain(-6, true);
    const auto before = allocationsOfThisThread();
    for (int i = 0; i < 3; ++i)
        softener.process({.frameLength = 300, .channels = {&samples[0], &samples[1024]}});
    EXPECT_EQ(allocationsOfThisThread(), before);
}

TEST(CaptureSeamSoftenerTest, ABufferInAnotherFormatIsLeftAloneAndUsesUpNoFade) {
    CaptureSeamSoftener softener;
    softener.beginFadeIn();
    std::vector<float> samples(16, 1.0F);
    softener.process({.frameLength = 16, .channels = {samples.data(), nullptr}});
    softener.process({.frameLength = 0, .channels = {samples.data(), samples.data()}});
    softener.process({.frameLength = 8, .isInterleaved = true, .channels = {samples.data(), samples.data()}});
    EXPECT_EQ(samples, std::vector<float>(16, 1.0F));
    EXPECT_EQ(gains(softener, 1)[0], 1.0F / 480.0F);
}

} // namespace
} // namespace rewindle::test
