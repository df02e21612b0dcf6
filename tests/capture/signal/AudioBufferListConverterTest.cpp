#include "capture/signal/AudioBufferListConverter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace rewindle::test {
namespace {

StreamDescription floatStream(double rate, std::uint32_t channels) {
    return {.sampleRate = rate, .channelsPerFrame = channels, .bitsPerChannel = 32};
}

/// A number that no other sample of a list has.
float sampleOf(std::size_t buffer, std::int64_t channel, std::int64_t frame) {
    return static_cast<float>(static_cast<std::int64_t>(buffer) * 1'000'000 + channel * 10'000 + frame + 1);
}

/// One buffer for each of `channelCounts`, all with `frames` frames of `sampleOf`.
class InputList {
public:
    InputList(const std::vector<std::uint32_t>& channelCounts, std::int64_t frames) : storage_(channelCounts.size()) {
        for (std::size_t b = 0; b < channelCounts.size(); ++b) {
            for (std::int64_t frame = 0; frame < frames; ++frame) {
                for (std::uint32_t channel = 0; channel < channelCounts[b]; ++channel) {
                    storage_[b].push_back(sampleOf(b, channel, frame));
                }
            }
            const auto bytes = static_cast<std::uint32_t>(storage_[b].size() * sizeof(float));
            buffers.push_back({channelCounts[b], bytes, storage_[b].data()});
        }
    }
    std::vector<AudioBuffer> buffers;

private:
    std::vector<std::vector<float>> storage_;
};

struct Place {
    std::size_t buffer;
    std::int64_t channel;
};

struct Layout {
    std::string name;
    std::uint32_t tapChannels;
    std::vector<std::uint32_t> buffers; // channel counts
    Place left, right;
};

TEST(AudioBufferListConverterTest, FindsTheTapsFirstTwoChannelsInEveryLayout) {
    const Layout layouts[] = {
        {"stereo, separate", 2, {1, 1}, {0, 0}, {1, 0}},
        {"stereo, interleaved", 2, {2}, {0, 0}, {0, 1}},
        {"mono", 1, {1}, {0, 0}, {0, 0}},
        {"mono in place of a promised pair", 2, {1}, {0, 0}, {0, 0}},
        {"six, interleaved", 6, {6}, {0, 0}, {0, 1}},
        {"six, separate", 6, {1, 1, 1, 1, 1, 1}, {0, 0}, {1, 0}},
        {"stereo, interleaved, behind another input", 2, {1, 2}, {1, 0}, {1, 1}},
        {"stereo, separate, behind another input", 2, {4, 1, 1}, {1, 0}, {2, 0}},
        {"mono behind another input", 1, {2, 1}, {1, 0}, {1, 0}},
        {"six, separate, behind two inputs", 6, {1, 2, 1, 1, 1, 1, 1, 1}, {2, 0}, {3, 0}},
    };
    for (const auto& layout : layouts) {
        const auto converter = AudioBufferListConverter::create(floatStream(48'000, layout.tapChannels));
        for (const std::uint32_t frames : {1U, 15U, 16U, 17U, 480U}) {
            SCOPED_TRACE(layout.name + ", " + std::to_string(frames));
            const InputList input(layout.buffers, frames);
            ASSERT_EQ(converter->frameCount(input.buffers), frames);
            const auto* out = converter->convert(input.buffers, frames);
            ASSERT_NE(out, nullptr);
            ASSERT_TRUE(out->isWorkingFormat());
            ASSERT_EQ(out->frameLength, frames);
            for (std::int64_t i = 0; i < frames; ++i) {
                ASSERT_EQ(out->channels[0][i], sampleOf(layout.left.buffer, layout.left.channel, i));
                ASSERT_EQ(out->channels[1][i], sampleOf(layout.right.buffer, layout.right.channel, i));
            }
        }
    }
}

TEST(AudioBufferListConverterTest, DropsListsThatDoNotHoldTheTapsAudio) {
    struct Bad {
        std::string name;
        std::uint32_t tapChannels;
        std::vector<AudioBuffer> buffers;
        std::uint32_t frames;
        std::uint32_t impliedFrames;
    };
    const std::vector<float> samples(64);
    const float* data = samples.data();
    const Bad lists[] = {
        {"no buffers", 2, {}, 8, 0},
        {"a buffer of no channels", 2, {{0, 64, data}}, 8, 0},
        {"no frames", 2, {{2, 0, data}}, 0, 0},
        {"one buffer without data", 2, {{2, 64, nullptr}}, 8, 8},
        {"fewer buffers than channels", 6, {{1, 32, data}, {1, 32, data}}, 8, 0},
        {"no data on the left", 2, {{1, 32, nullptr}, {1, 32, data}}, 8, 8},
        {"no data on the right", 2, {{1, 32, data}, {1, 32, nullptr}}, 8, 8},
        {"fewer bytes on the right", 2, {{1, 32, data}, {1, 28, data}}, 8, 8},
        {"fewer bytes than frames", 2, {{2, 56, data}}, 8, 7},
        {"far more frames than bytes", 2, {{2, 56, data}}, 0xffff'ffff, 7},
    };
    for (const auto& list : lists) {
        SCOPED_TRACE(list.name);
        for (const double rate : {48'000.0, 44'100.0}) {
            const auto converter = AudioBufferListConverter::create(floatStream(rate, list.tapChannels));
            EXPECT_EQ(converter->frameCount(list.buffers), list.impliedFrames);
            EXPECT_EQ(converter->convert(list.buffers, list.frames), nullptr);
        }
    }
}

TEST(AudioBufferListConverterTest, IsMadeOnlyForFloatStreamsAtWholeRatesInRange) {
    const auto isMade = [](StreamDescription tap) { return AudioBufferListConverter::create(tap) != nullptr; };
    for (const double rate : {8'000.0, 44'099.0, 48'000.0, 384'000.0})
        EXPECT_TRUE(isMade(floatStream(rate, 2)));
    for (const double rate :
         {std::nan(""), std::numeric_limits<double>::infinity(), -44'100.0, 0.0, 7'999.0, 44'100.5, 384'001.0}) {
        EXPECT_FALSE(isMade(floatStream(rate, 2))) << rate;
    }
    EXPECT_FALSE(isMade({.sampleRate = 48'000, .channelsPerFrame = 2, .bitsPerChannel = 32, .isFloat = false}));
    EXPECT_FALSE(isMade({.sampleRate = 48'000, .channelsPerFrame = 2, .bitsPerChannel = 64}));
    EXPECT_FALSE(isMade({.sampleRate = 48'000, .channelsPerFrame = 2, .bitsPerChannel = 16}));

    const auto converter = AudioBufferListConverter::create(floatStream(44'100, 0));
    EXPECT_EQ(converter->tapChannelCount, 1);
}

} // namespace
} // namespace rewindle::test
