#include "base/Color.h"

#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

constexpr double k33 = 0x33 / 255.0;
constexpr double kCC = 0xCC / 255.0;

TEST(ColorTest, ReadsHexadecimalTextsAndTakesNonsenseForBlack) {
    for (const auto& [text, color] : {std::pair<const char*, Color>{"#ff33cc", {1, k33, kCC, 0.5}},
                                      {"FF33CC", {1, k33, kCC, 0.5}},
                                      {" \n#ff33cc\r\n", {1, k33, kCC, 0.5}},
                                      {"#ff33cc33", {1, k33, kCC, k33}},
                                      {"#33cc", {0, k33, kCC, 0.5}},
                                      {"", {0, 0, 0, 0.5}},
                                      {"#ff33cx", {0, 0, 0, 0.5}},
                                      {"##ff33cc", {0, 0, 0, 0.5}},
                                      {"-ff33cc", {0, 0, 0, 0.5}},
                                      {"fffffffff", {0, 0, 0, 0.5}}}) {
        EXPECT_EQ(colorFromHex(text, 0.5), color) << text;
    }
    EXPECT_EQ(colorFromHex("#ff33cc").alpha, 1);
}

TEST(ColorTest, BlendsEachComponentTowardsTheOtherColor) {
    const Color from{1, 0.5, 0, 1};
    const Color to{0, 0.5, 0.5, 0};
    EXPECT_EQ(from.blended(0, to), from);
    EXPECT_EQ(from.blended(1, to), to);
    EXPECT_EQ(from.blended(0.25, to), (Color{0.75, 0.5, 0.125, 0.75}));
}

} // namespace
} // namespace rewindle::test
