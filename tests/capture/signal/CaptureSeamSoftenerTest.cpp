#include "capture/signal/CaptureSeamSoftener.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace rewindle::test {
namespace {

/// The gains that a softener gives to the next frames, seen through a signal of ones on the left and minus
/// ones on the right, given to it in buffers of `bufferFrames`.
std::vector<float> gains(CaptureSeamSoftener& softener, std::size_t frames, std::size_t bufferFrames) {
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

TEST(CaptureSeamSoftenerTest, LeavesEveryBitAloneAtUnityGain) {
    CaptureSeamSoftener softener;
    softener.setGain(0, true);
    constexpr std::array<std::uint32_t, 5> kAwkward{0, 0x8000'0000, 1, 0x7FA0'0001,
                                                    0x7F80'0000}; // 0, -0, tiny, NaN, inf
    auto left = std::bit_cast<std::array<float, 5>>(kAwkward), right = left;
    softener.process({.frameLength = 5, .channels = {left.data(), right.data()}});
    EXPECT_EQ((std::bit_cast<std::array<std::uint32_t, 5>>(left)), kAwkward);
    EXPECT_EQ((std::bit_cast<std::array<std::uint32_t, 5>>(right)), kAwkward);
}

TEST(CaptureSeamSoftenerTest, GivesEachFrameTheGainOfItsGlideTimesThatOfItsFadeWhateverTheBufferSize) {
    constexpr auto kFadeIn = std::nullopt;
    const struct {
        std::optional<float> gainDB; // none: a fade in
        bool glides;
        std::size_t frames; // until the next change
    } changes[] = {
        {kFadeIn, false, 256}, {kFadeIn, false, 600},                 // begins again
        {6, true, 1500},       {20, true, 240},       {0, true, 600}, // from where the glide is
        {20, true, 100},       {-20, false, 600},                     // ends the glide
        {0, false, 1},         {kFadeIn, false, 100}, {6, true, 600}, // both at once
    };
    for (const std::size_t bufferFrames : {1, 7, 64, 256, 479, 480, 481, 2048}) {
        SCOPED_TRACE(bufferFrames);
        CaptureSeamSoftener softener;
        float from = 1, to = 1;
        int glided = 480, faded = 480;
        const auto glide = [&] { return glided == 480 ? to : from + (to - from) * static_cast<float>(glided) / 480; };
        for (const auto& [gainDB, glides, frames] : changes) {
            if (gainDB) {
                softener.setGain(*gainDB, glides);
                from = glide();
                to = std::pow(10.0F, *gainDB / 20);
                glided = glides ? 0 : 480;
            } else {
                softener.beginFadeIn();
                faded = 0;
            }
            for (const float seen : gains(softener, frames, bufferFrames)) {
                glided = std::min(glided + 1, 480);
                faded = std::min(faded + 1, 480);
                const float expected = glide() * (static_cast<float>(faded) / 480);
                ASSERT_NEAR(seen, expected, glided == 480 ? 0 : 1e-5F * std::max(from, to)) << gainDB.value_or(99);
            }
        }
    }
}

TEST(CaptureSeamSoftenerTest, ABufferInAnotherFormatIsLeftAloneAndUsesUpNoFade) {
    CaptureSeamSoftener softener;
    softener.beginFadeIn();
    softener.delayFadeIn(4);
    std::vector<float> samples(16, 1.0F);
    softener.process({.frameLength = 16, .channels = {samples.data(), nullptr}});
    softener.process({.frameLength = 0, .channels = {samples.data(), samples.data()}});
    softener.process({.frameLength = 8, .isInterleaved = true, .channels = {samples.data(), samples.data()}});
    EXPECT_EQ(samples, std::vector<float>(16, 1.0F));
    EXPECT_EQ(gains(softener, 5, 5), (std::vector{0.0F, 0.0F, 0.0F, 0.0F, 1.0F / 480.0F}));
}

} // namespace
} // namespace rewindle::test
