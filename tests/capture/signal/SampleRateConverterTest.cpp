#include "capture/signal/SampleRateConverter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

namespace rewindle::test {
namespace {

constexpr std::int64_t kOutputRate = 48'000;
// Whole ratios both ways, the usual odd ones, and ratios that are too odd for a table of all their phases.
constexpr std::int64_t kRates[] = {8'000,  11'025, 22'050, 32'000, 44'099,  44'100,  47'999,
                                   48'001, 50'000, 88'200, 96'000, 192'000, 383'987, 384'000};

struct Stereo {
    std::vector<float> left, right;
    friend bool operator==(const Stereo&, const Stereo&) = default;
};

/// `left(t)` and `right(t)` at every frame of `frames`.
template <class Left, class Right>
Stereo sampled(std::int64_t frames, Left left, Right right) {
    Stereo made;
    for (std::int64_t i = 0; i < frames; ++i) {
        made.left.push_back(static_cast<float>(left(static_cast<double>(i))));
        made.right.push_back(static_cast<float>(right(static_cast<double>(i))));
    }
    return made;
}

Stereo constant(std::int64_t frames, double left, double right) {
    return sampled(
        frames, [=](double) { return left; }, [=](double) { return right; });
}

/// A sine on the left and a cosine on the right.
Stereo tone(std::int64_t frames, double frequency, double rate) {
    const double step = 2 * std::numbers::pi * frequency / rate;
    return sampled(
        frames, [=](double i) { return std::sin(step * i); }, [=](double i) { return std::cos(step * i); });
}

Stereo noise(std::int64_t frames, unsigned seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-1, 1);
    return sampled(
        frames, [&](double) { return value(random); }, [&](double) { return value(random); });
}

/// Drains the converter of `input` in passes of at most `capacity` frames and appends what comes.
void drain(SampleRateConverter& converter, StereoInput input, std::int64_t capacity, Stereo& out) {
    for (std::int64_t made = capacity; made == capacity;) {
        Stereo pass{std::vector<float>(static_cast<std::size_t>(capacity)), {}};
        pass.right = pass.left;
        made = converter.process(input, pass.left.data(), pass.right.data(), capacity);
        out.left.insert(out.left.end(), pass.left.begin(), pass.left.begin() + made);
        out.right.insert(out.right.end(), pass.right.begin(), pass.right.begin() + made);
    }
    EXPECT_EQ(input.frames, 0);
}

Stereo convertWhole(std::int64_t rate, const Stereo& input) {
    SampleRateConverter converter(rate, kOutputRate);
    Stereo out;
    drain(converter, {input.left.data(), input.right.data(), std::ssize(input.left)}, 1 << 16, out);
    return out;
}

/// The largest difference of the two in frames [first, last).
double largestError(const Stereo& a, const Stereo& b, std::int64_t first, std::int64_t last) {
    double largest = 0;
    for (auto i = static_cast<std::size_t>(first); i < static_cast<std::size_t>(last); ++i) {
        largest = std::max<double>({largest, std::abs(a.left[i] - b.left[i]), std::abs(a.right[i] - b.right[i])});
    }
    return largest;
}

double decibels(double amplitude) {
    return 20 * std::log10(amplitude + 1e-20);
}

TEST(SampleRateConverterTest, KeepsTimeExactlyFromTheFirstCallOn) {
    std::mt19937 random(1);
    for (const auto rate : kRates) {
        SCOPED_TRACE(rate);
        SampleRateConverter converter(rate, kOutputRate);
        const auto silence = constant(3'000, 0, 0);
        std::vector<float> left(20'000), right(20'000);
        std::int64_t taken = 0, made = 0;
        for (int call = 0; call < 100; ++call) {
            const std::int64_t frames = call < 20 ? call : static_cast<std::int64_t>(random() % 3'001);
            StereoInput input{silence.left.data(), silence.right.data(), frames};
            made += converter.process(input, left.data(), right.data(), std::ssize(left));
            taken += frames;
            ASSERT_EQ(made, (taken * kOutputRate + rate - 1) / rate) << "after " << taken << " frames";
        }
    }
}

TEST(SampleRateConverterTest, GivesTheSameSamplesHoweverTheInputIsCut) {
    std::mt19937 random(2);
    for (const std::int64_t rate : {8'000, 44'099, 44'100, 96'000, 384'000}) {
        SCOPED_TRACE(rate);
        const auto input = noise(30'000, 3);
        SampleRateConverter converter(rate, kOutputRate);
        Stereo pieces;
        for (std::int64_t done = 0; done < 30'000;) {
            const auto frames = std::min<std::int64_t>(static_cast<std::int64_t>(random() % 900), 30'000 - done);
            const auto capacity = static_cast<std::int64_t>(1 + random() % 700);
            drain(converter, {input.left.data() + done, input.right.data() + done, frames}, capacity, pieces);
            done += frames;
        }
        EXPECT_TRUE(pieces == convertWhole(rate, input));
    }
}

TEST(SampleRateConverterTest, CarriesTheBandThroughInPlaceAndAtUnity) {
    for (const auto rate : kRates) {
        const double lowerHalf = static_cast<double>(std::min(rate, kOutputRate)) / 2;
        const auto delay = SampleRateConverter(rate, kOutputRate).delayFrames();
        for (const double part : {0.0, 0.002, 0.1, 0.33, 0.7, 0.9, 0.907}) {
            SCOPED_TRACE(testing::Message() << part * lowerHalf << " Hz at " << rate);
            const auto out = convertWhole(rate, tone(rate / 10, part * lowerHalf, static_cast<double>(rate)));
            auto ideal = tone(std::ssize(out.left) - delay, part * lowerHalf, kOutputRate);
            for (auto* channel : {&ideal.left, &ideal.right}) {
                channel->insert(channel->begin(), static_cast<std::size_t>(delay), 0.0F);
            }
            EXPECT_LT(decibels(largestError(out, ideal, 2 * delay, std::ssize(out.left))), -120);
        }
    }
}

TEST(SampleRateConverterTest, LetsNothingAboveTheOutputsBandFoldBack) {
    for (const std::int64_t rate : {50'000, 88'200, 96'000, 192'000, 383'987, 384'000}) {
        for (const double frequency : {24'000.0, 24'900.0, 31'000.0, 43'000.0, 47'500.0, 95'000.0, 180'000.0}) {
            if (frequency > static_cast<double>(rate) / 2) continue;
            SCOPED_TRACE(testing::Message() << frequency << " Hz at " << rate);
            const auto out = convertWhole(rate, tone(rate / 10, frequency, static_cast<double>(rate)));
            const auto silence = constant(std::ssize(out.left), 0, 0);
            EXPECT_LT(decibels(largestError(out, silence, 200, std::ssize(out.left))), -120);
        }
    }
}

TEST(SampleRateConverterTest, IsSilentBeforeAndSoonAfterTheSound) {
    const auto nan = std::numeric_limits<double>::quiet_NaN();
    for (const auto rate : kRates) {
        SCOPED_TRACE(rate);
        SampleRateConverter converter(rate, kOutputRate);
        const auto silence = constant(rate / 20, 0, 0), sound = constant(100, 1, nan);
        Stereo out;
        for (const auto* part : {&silence, &sound, &silence}) {
            drain(converter, {part->left.data(), part->right.data(), std::ssize(part->left)}, 4'096, out);
        }
        // The filter reaches over twice its delay; the sound itself begins 50 ms, 2,400 frames, into the
        // input.
        const auto longest = 2'400 + 2 * converter.delayFrames() + 101 * kOutputRate / rate + 2;
        const auto none = constant(std::ssize(out.left), 0, 0);
        EXPECT_EQ(largestError(out, none, 0, 2'399), 0);
        ASSERT_LT(longest, std::ssize(out.left));
        EXPECT_EQ(largestError(out, none, longest, std::ssize(out.left)), 0);
    }
}

} // namespace
} // namespace rewindle::test
