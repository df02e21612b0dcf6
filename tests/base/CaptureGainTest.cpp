#include "base/CaptureGain.h"

#include <cmath>
#include <gmock/gmock.h>
#include <utility>
#include <vector>

namespace rewindle::test {
namespace {

TEST(CaptureGainTest, TurnsDecibelsIntoAFactorBetweenATenthAndTen) {
    const std::pair<float, float> exact[] = {{0, 1.0F},   {20, 10.0F},    {25, 10.0F},  {INFINITY, 10.0F},
                                             {-20, 0.1F}, {-20.5F, 0.1F}, {-400, 0.1F}, {-INFINITY, 0.1F}};
    for (const auto& [db, factor] : exact)
        EXPECT_EQ(CaptureGain::linearFactor(db), factor) << db;
    EXPECT_FLOAT_EQ(CaptureGain::linearFactor(6), 1.9952623F);
    EXPECT_FLOAT_EQ(CaptureGain::linearFactor(-6), 0.50118723F);
    EXPECT_FLOAT_EQ(CaptureGain::linearFactor(-19.9F), 0.10115795F);
}

TEST(CaptureGainTest, LabelsCarryASignExceptAtZero) {
    const std::pair<float, std::string> cases[] = {
        {0, "0 dB"},     {0.04F, "0 dB"}, {-0.04F, "0 dB"}, {0.06F, "+0.1 dB"}, {-0.06F, "-0.1 dB"},
        {-7, "-7.0 dB"}, {6, "+6.0 dB"},  {30, "+20.0 dB"}, {-30, "-20.0 dB"},  {12.34F, "+12.3 dB"},
    };
    for (const auto& [db, label] : cases)
        EXPECT_EQ(CaptureGain::label(db), label);
    EXPECT_TRUE(CaptureGain::label(3.25F) == "+3.2 dB" || CaptureGain::label(3.25F) == "+3.3 dB");
}

TEST(CaptureGainTest, AppliesUnlimitedGainToBothChannels) {
    std::vector<float> left(9, 0.5F), right(9, -0.25F);
    CaptureGain::apply({.frameLength = 9, .channels = {left.data(), right.data()}}, 40);
    EXPECT_THAT(left, testing::Each(testing::FloatEq(50)));
    EXPECT_THAT(right, testing::Each(testing::FloatEq(-25)));
}

} // namespace
} // namespace rewindle::test
