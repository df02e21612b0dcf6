#include "base/FlushToZero.h"

#include <gtest/gtest.h>

#include <limits>
#include <thread>

namespace rewindle::test {
namespace {

TEST(FlushToZeroTest, MakesDenormalResultsAndOperandsZeroOnTheCallingThreadOnly) {
    volatile float smallest = std::numeric_limits<float>::min(), half = 0.5F;
    volatile float denormal = std::numeric_limits<float>::denorm_min(), huge = 1e38F;
    float result = -1, operand = -1;
    std::thread([&] {
        setFlushToZero();
        result = smallest * half;
        operand = denormal * huge;
    }).join();
    EXPECT_EQ(result, 0.0F);
    EXPECT_EQ(operand, 0.0F);
    const float here = smallest * half;
    EXPECT_GT(here, 0.0F);
}

} // namespace
} // namespace rewindle::test
