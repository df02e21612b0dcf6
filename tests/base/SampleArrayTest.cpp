#include "base/SampleArray.h"

#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

TEST(SampleArray, ClaimsNoSamplesThatItHasGivenAway) {
    SampleArray samples(4);
    samples.data()[0] = 7;
    samples.shrink(3);
    SampleArray taken(std::move(samples));
    EXPECT_EQ(taken.size(), 3u);
    EXPECT_EQ(taken[0], 7);
    EXPECT_TRUE(samples.empty()); // NOLINT(bugprone-use-after-move): what is left behind is the point
    samples = std::move(taken);
    EXPECT_EQ(std::span<const float>(samples).size(), 3u);
    EXPECT_TRUE(taken.empty()); // NOLINT(bugprone-use-after-move)
}

} // namespace
} // namespace rewindle::test
