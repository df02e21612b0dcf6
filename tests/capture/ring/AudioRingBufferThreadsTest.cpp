#include "capture/ring/AudioRingBuffer.h"

#include "capture/ring/RangeCopy.h"
#include "capture/ring/RingSamples.h"
#include "fakes/HeapAudioMemory.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <gtest/gtest.h>
#include <latch>
#include <limits>
#include <thread>
#include <utility>

namespace rewindle::test {
namespace {

constexpr std::int64_t kEnd = std::numeric_limits<std::int64_t>::max();

constexpr std::int64_t kCodes = 4096; // far more than the ring has buckets

/// The number of a bucket that its frames carry.
float codeOf(std::int64_t bucket) {
    return static_cast<float>(bucket % kCodes);
}

/// Audio in which every frame tells its bucket's code c: even frames are at +c, odd ones at -(c + 0.5). So
/// each of a bucket's three values tells it too, from the second frame on, and no mixture of two buckets
/// passes.
RingSamples codedSamples() {
    RingSamples samples(kCodes * 128, 0, 0);
    for (std::int64_t frame = 0; frame < kCodes * 128; ++frame) {
        const float code = codeOf(frame / 128);
        const auto at = static_cast<std::size_t>(frame);
        samples.left[at] = samples.right[at] = frame % 2 == 0 ? code : -(code + 0.5F);
    }
    return samples;
}

/// Whether a ring of one second can show `bucket`, given what it says it held.
bool isHeld(std::int64_t bucket, const WaveformInfo& info) {
    const std::int64_t firstReadable = std::max<std::int64_t>(info.totalFramesWritten / 128 - 375, 0);
    return bucket >= firstReadable && bucket * 128 + 128 > info.oldestFrame && bucket * 128 < info.totalFramesWritten;
}

/// One writer and three readers on a ring of one second. The writer goes on until the readers have seen
/// enough.
class AudioRingBufferThreads : public testing::Test {
protected:
    void writeCoded() {
        constexpr std::int64_t kLengths[] = {2, 64, 128, 96, 480, 2048, 64, 200};
        AudioPCMBuffer buffer = coded_.buffer();
        const auto channels = buffer.channels;
        start_.arrive_and_wait();
        for (std::size_t i = 0; readersLeft_ > 0; ++i) {
            const std::int64_t total = ring.totalFramesWritten(); // stays while a copy holds the ring
            const std::int64_t position = total % (kCodes * 128);
            buffer.channels = {channels[0] + position, channels[1] + position};
            buffer.frameLength = std::min(kLengths[i % 8], kCodes * 128 - position);
            ring.append(buffer);
            if (ring.totalFramesWritten() == total) ++dropped_;
            if (i % 8 == 7) std::this_thread::yield();
        }
    }

    /// Calls `check` so many times, fewer when a fault has been found.
    template <class Check>
    void readTimes(int times, Check check) {
        start_.arrive_and_wait();
        for (int i = 0; i < times && !HasFailure(); ++i) {
            check();
            std::this_thread::yield(); // the lock is not fair: whoever waits for it would starve
        }
        --readersLeft_;
    }

    void checkColumns(std::int64_t count, std::int64_t first) {
        std::vector<float> mins, maxs;
        const auto info = ring.readSummaryColumns(count, mins, maxs, static_cast<double>(first * 128), 128, 1e18);
        for (std::int64_t i = 0; i < count; ++i) {
            const bool held = isHeld(first + i, info);
            const auto at = static_cast<std::size_t>(i);
            ASSERT_EQ(!std::isnan(mins[at]) && !std::isnan(maxs[at]), held) << "bucket " << first + i;
            if (!held) continue;
            ASSERT_EQ(mins[at], -(codeOf(first + i) + 0.5F)) << "bucket " << first + i;
            ASSERT_EQ(maxs[at], codeOf(first + i)) << "bucket " << first + i;
        }
    }

    HeapAudioMemory memory;
    AudioRingBuffer ring{1, memory};
    RingSamples coded_ = codedSamples();
    std::latch start_{4};
    std::atomic<int> readersLeft_ = 3;
    std::atomic<int> dropped_ = 0; // appends that met a copy in chunks
};

TEST_F(AudioRingBufferThreads, ShowNoColumnThatMixesTwoMoments) {
    std::jthread writer([&] { writeCoded(); });
    const auto newest = [&] { checkColumns(6, std::max<std::int64_t>(ring.totalFramesWritten() / 128 - 3, 0)); };
    // The empty columns in front leave the writer time to overwrite the oldest buckets before they are read.
    const auto oldest = [&] { checkColumns(1'000 + 6, ring.oldestRetainedFrame() / 128 - 1'000); };
    const auto all = [&] { checkColumns(1'000 + 380, ring.oldestRetainedFrame() / 128 - 1'000); };
    std::jthread newestReader([&] { readTimes(10'000, newest); });
    std::jthread oldestReader([&] { readTimes(15'000, oldest); });
    std::jthread allReader([&] { readTimes(15'000, all); });
}

TEST_F(AudioRingBufferThreads, CopyAndMeasureWholeMomentsWhileAudioComesIn) {
    const auto checkCopy = [](const StereoSamples& samples) {
        for (std::size_t i = 0; i + 128 < samples.left.size(); i += 64) {
            const auto bucket = static_cast<std::int64_t>(std::abs(samples.left[i]));
            ASSERT_EQ(std::floor(std::abs(samples.left[i + 128])), codeOf(bucket + 1));
            ASSERT_EQ(samples.right[i], samples.left[i]);
        }
    };
    AudioPCMBuffer second = coded_.buffer();
    second.frameLength = ring.capacityFrames;
    ring.append(second); // so that no copy is over before the writer has begun
    {
        std::jthread writer([&] { writeCoded(); });
        std::jthread copies([&] { readTimes(100, [&] { checkCopy(ring.copyFrames(0, kEnd)); }); });
        std::jthread chunks([&] {
            readTimes(2'000, [&] { // until it has met enough appends
                if (dropped_ < 20) checkCopy(copyFramesInChunks(ring, 0, kEnd, 1));
            });
        });
        std::jthread peaks([&] {
            readTimes(100, [&] {
                const WaveformInfo info = ring.info();
                const float peak = ring.peakAmplitude(info.oldestFrame, info.totalFramesWritten);
                float expected = 0;
                for (auto b = info.oldestFrame / 128; b * 128 < info.totalFramesWritten; ++b) {
                    expected = std::max(expected, codeOf(b) + 0.5F);
                }
                // What was there when it was asked may have been overwritten since.
                ASSERT_TRUE(peak == expected || ring.info() != info) << peak;
            });
        });
    }
    EXPECT_GT(dropped_, 0);
}

TEST_F(AudioRingBufferThreads, SeeAFadeWholeOrNotAtAll) {
    constexpr std::int64_t kFrames = 47'872; // 374 buckets: more than are computed before the first is stored
    std::vector<float> faded(374);
    for (std::size_t i = 0; i < 374; ++i) {
        faded[i] = static_cast<float>(kFrames - 1 - static_cast<std::int64_t>(i) * 128) / (kFrames - 1);
    }
    // Asks for what the read before it found, so that it need not wait for the writer's lock.
    const auto checkFade = [&, total = kFrames]() mutable {
        std::vector<float> mins, maxs;
        const auto first = static_cast<double>(total - kFrames);
        const auto info = ring.readSummaryColumns(374, mins, maxs, first, 128, 1e18);
        if (std::exchange(total, std::max(info.totalFramesWritten, kFrames)) != info.totalFramesWritten) return;
        ASSERT_TRUE(std::ranges::equal(maxs, faded) || maxs == std::vector<float>(374, 1.0F));
    };
    std::jthread writer([&] {
        start_.arrive_and_wait();
        RingSamples samples(kFrames, 1, 1);
        while (readersLeft_ > 0) {
            ring.append(samples.buffer());
            ring.fadeOutTail(kFrames);
            std::this_thread::yield();
        }
    });
    const auto read = [&] { readTimes(1'000, checkFade); };
    const std::jthread readers[] = {std::jthread(read), std::jthread(read), std::jthread(read)};
}

} // namespace
} // namespace rewindle::test
