#include "capture/SampleRateConverter.h"

#include <gtest/gtest.h>
#include <soxr.h>

#include <cmath>
#include <numbers>
#include <random>
#include <vector>

namespace rewindle::test {
namespace {

constexpr std::int64_t kOutputRate = 48'000;

/// Many tones of random height and phase, spread over the band up to `highest`; at most about full scale.
std::vector<float> chord(std::int64_t frames, double rate, double highest, unsigned seed) {
    constexpr int kTones = 40;
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> part(0, 1);
    std::vector<double> sum(static_cast<std::size_t>(frames));
    for (int tone = 0; tone < kTones; ++tone) {
        const double step = 2 * std::numbers::pi * highest * (tone + part(random)) / kTones / rate;
        const double phase = 2 * std::numbers::pi * part(random), height = 2 * part(random) / kTones;
        for (std::size_t i = 0; i < sum.size(); ++i)
            sum[i] += height * std::sin(step * static_cast<double>(i) + phase);
    }
    return {sum.begin(), sum.end()};
}

/// The same change of rate by another's hand, without delay. By default it lets the top of the band droop by
/// 0.006 dB, which would be the whole difference.
std::vector<float> oracle(const std::vector<float>& input, double rate) {
    const auto quality = soxr_quality_spec(SOXR_VHQ, SOXR_ROLLOFF_NONE);
    std::vector<float> out(input.size() * 7);
    std::size_t made = 0;
    const auto* error = soxr_oneshot(rate, kOutputRate, 1, input.data(), input.size(), nullptr, out.data(),
                                     out.size(), &made, nullptr, &quality, nullptr);
    EXPECT_EQ(error, nullptr);
    out.resize(made);
    return out;
}

TEST(SampleRateOracleTest, AgreesWithAnIndependentConverterInTheBand) {
    for (const std::int64_t rate : {8'000, 22'050, 44'099, 44'100, 88'200, 96'000, 192'000}) {
        SCOPED_TRACE(rate);
        const double highest = 0.9 * static_cast<double>(std::min(rate, kOutputRate)) / 2;
        const auto left = chord(rate / 2, static_cast<double>(rate), highest, 1);
        const auto right = chord(rate / 2, static_cast<double>(rate), highest, 2);

        SampleRateConverter converter(rate, kOutputRate);
        std::vector<float> outLeft(kOutputRate), outRight(kOutputRate);
        StereoInput input{left.data(), right.data(), std::ssize(left)};
        const auto made = converter.process(input, outLeft.data(), outRight.data(), kOutputRate);

        // Away from the ends, where the two differ in how they let a sound begin from nothing.
        const auto delay = converter.delayFrames(), margin = std::int64_t{6'000};
        const auto idealLeft = oracle(left, static_cast<double>(rate));
        const auto idealRight = oracle(right, static_cast<double>(rate));
        double largest = 0;
        for (auto i = margin; i < made - delay - margin; ++i) {
            const auto at = static_cast<std::size_t>(i), late = static_cast<std::size_t>(i + delay);
            largest = std::max<double>(largest, std::abs(outLeft[late] - idealLeft[at]));
            largest = std::max<double>(largest, std::abs(outRight[late] - idealRight[at]));
        }
        EXPECT_LT(20 * std::log10(largest), -115);
    }
}

} // namespace
} // namespace rewindle::test
