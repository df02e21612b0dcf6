#include "capture/AudioRingBuffer.h"

#include "RingSamples.h"
#include "fakes/AllocationCounter.h"
#include "fakes/HeapAudioMemory.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <sys/mman.h>

namespace rewindle::test {
namespace {

constexpr std::int64_t kSecond = AudioRingBuffer::kFramesPerSecond;
constexpr std::int64_t kEnd = std::numeric_limits<std::int64_t>::max();

/// Address space with no memory behind it: the first touch ends the test.
class ForbiddenMemory final : public AudioMemory {
public:
    Block allocate(std::size_t bytes) override {
        void* block = ::mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        if (block == MAP_FAILED) throw std::bad_alloc();
        return Block(block, Release{[](void* p, std::size_t size) { ::munmap(p, size); }, bytes});
    }
};

class AudioRingBufferTest : public testing::Test {
protected:
    void append(std::int64_t frames, float left, float right) {
        RingSamples samples(frames, left, right);
        ring.append(samples.buffer());
    }
    /// Columns of one bucket each.
    WaveformInfo readBuckets(std::int64_t count, std::int64_t firstBucket) {
        return ring.readSummaryColumns(count, mins, maxs, static_cast<double>(firstBucket * 128), 128, 1e18);
    }

    HeapAudioMemory memory;
    AudioRingBuffer ring{1, memory};
    std::vector<float> mins;
    std::vector<float> maxs;
};

TEST_F(AudioRingBufferTest, TouchesNoMemoryUntilAudioComes) {
    ForbiddenMemory untouchable;
    const AudioRingBuffer longest(600, untouchable);
    const AudioRingBuffer resized(300, untouchable, longest);
    EXPECT_EQ(resized.info(), (WaveformInfo{0, 0}));
    EXPECT_EQ(longest.copyFrames(0, kEnd).left.size(), 0u);
}

TEST_F(AudioRingBufferTest, MakesRoomForItsDurationAndOneBucketMore) {
    const AudioRingBuffer thirty(30, memory);
    EXPECT_EQ(thirty.durationSeconds, 30);
    EXPECT_EQ(thirty.capacityFrames, 1'440'000);
    EXPECT_EQ(thirty.summaryBuckets, 11'250);
    EXPECT_EQ(thirty.bucketCount, 11'251);
    EXPECT_EQ(thirty.info(), (WaveformInfo{0, 0}));
    EXPECT_FALSE(thirty.isFrozen());
}

TEST_F(AudioRingBufferTest, StopsTheProcessForADurationThatCannotBe) {
    for (const std::int64_t seconds : {std::int64_t{0}, std::int64_t{-1}, kEnd / kSecond + 1}) {
        EXPECT_DEATH(AudioRingBuffer(seconds, memory), "duration");
    }
    EXPECT_THROW(AudioRingBuffer(kEnd / kSecond, memory), std::bad_alloc); // countable, but no address space
}

TEST_F(AudioRingBufferTest, DropsWhatItCannotTakeWhole) {
    append(300, 0.5F, 0.25F);
    RingSamples samples(100, 1, 1);
    AudioPCMBuffer refused[6];
    std::ranges::fill(refused, samples.buffer());
    refused[0].channelCount = 1;
    refused[1].isInterleaved = true;
    refused[2].sampleFormat = SampleFormat::int16;
    refused[3].frameLength = 0;
    refused[4].channels[1] = nullptr;
    refused[5].frameLength = -5;
    for (const AudioPCMBuffer& buffer : refused)
        ring.append(buffer);
    ring.setFrozen(true);
    ring.append(samples.buffer());
    EXPECT_EQ(ring.info(), (WaveformInfo{300, 0}));
    EXPECT_EQ(ring.peakAmplitude(0, kEnd), 0.5F);
    ring.setFrozen(false);
    ring.append(samples.buffer());
    EXPECT_EQ(ring.info(), (WaveformInfo{400, 0}));
}

TEST_F(AudioRingBufferTest, AppendsAndFadesWithoutAllocating) {
    RingSamples samples(3 * kSecond, 0.5F, -0.5F);
    AudioPCMBuffer buffer = samples.buffer();
    const auto before = allocationsOfThisThread();
    for (const std::int64_t frames : {1, 64, 127, 480, 2048, 47'000, 144'000}) {
        buffer.frameLength = frames;
        ring.append(buffer);
        ring.fadeOutTail(frames / 2);
    }
    EXPECT_EQ(allocationsOfThisThread(), before);
}

TEST_F(AudioRingBufferTest, CopiesNothingFromOutsideOfWhatIsHeld) {
    append(2 * kSecond + 100, 0.5F, 0.5F);
    ASSERT_EQ(ring.info(), (WaveformInfo{2 * kSecond + 100, kSecond + 100}));
    const std::pair<std::int64_t, std::int64_t> ranges[] = {
        {0, kSecond + 100}, {2 * kSecond + 100, kEnd}, {70'000, 70'000}, {70'001, 70'000}, {-kEnd, 0}, {kEnd, -kEnd}};
    for (const auto& [start, end] : ranges) {
        SCOPED_TRACE(testing::Message() << start << " to " << end);
        EXPECT_TRUE(ring.copyFrames(start, end).left.empty());
        EXPECT_TRUE(ring.copyFramesInChunks(start, end, 1000).right.empty());
        EXPECT_EQ(ring.peakAmplitude(start, end), 0);
    }
    EXPECT_EQ(ring.copyFrames(-kEnd, kEnd).left.size(), static_cast<std::size_t>(kSecond));
}

TEST_F(AudioRingBufferTest, LeavesTheFreezeAfterAChunkedCopyAsItWasBefore) {
    append(1000, 0.5F, 0.5F);
    for (const bool frozen : {false, true}) {
        ring.setFrozen(frozen);
        EXPECT_EQ(ring.copyFramesInChunks(0, kEnd, 0).left.size(), 1000u);
        EXPECT_EQ(ring.isFrozen(), frozen);
    }
}

TEST_F(AudioRingBufferTest, ShowsTheBucketBeingFilledFromItsFirstFrameOn) {
    append(128, 0.25F, 0.25F);
    EXPECT_EQ(readBuckets(2, 0), (WaveformInfo{128, 0}));
    EXPECT_TRUE(std::isnan(mins[1]));
    append(1, -0.5F, -0.25F);
    EXPECT_EQ(readBuckets(2, 0), (WaveformInfo{129, 0}));
    EXPECT_EQ(mins[1], -0.375F);
    EXPECT_EQ(maxs[1], -0.375F);
    EXPECT_EQ(maxs[0], 0.25F);
}

TEST_F(AudioRingBufferTest, ShowsNothingWhereNothingIsHeld) {
    append(kSecond + 200, 0.5F, 0.5F); // the oldest frame is 200, in bucket 1; bucket 376 holds 72 frames
    readBuckets(380, 0);
    for (std::size_t bucket = 0; bucket < 380; ++bucket) {
        SCOPED_TRACE(bucket);
        const bool held = bucket >= 1 && bucket <= 376;
        EXPECT_EQ(mins[bucket] == 0.5F && maxs[bucket] == 0.5F, held);
        if (!held) {
            EXPECT_EQ(std::bit_cast<std::uint32_t>(mins[bucket]), 0x7FC00000u);
            EXPECT_EQ(std::bit_cast<std::uint32_t>(maxs[bucket]), 0x7FC00000u);
        }
    }
    ring.readSummaryColumns(4, mins, maxs, 1280, 128, 1280 + 256); // the limit cuts the last two off
    EXPECT_EQ(mins[1], 0.5F);
    EXPECT_TRUE(std::isnan(mins[2]));
}

TEST_F(AudioRingBufferTest, GrowsTheColumnArraysButNeverShrinksThem) {
    append(1280, 0.5F, 0.5F);
    readBuckets(8, 0);
    ring.readSummaryColumns(3, mins, maxs, 0, 128, 0); // empty, all three
    EXPECT_EQ(mins.size(), 8u);
    EXPECT_TRUE(std::isnan(mins[2]));
    EXPECT_EQ(mins[3], 0.5F);
    for (const auto& [count, width] : {std::pair(0, 128.0), {-1, 128.0}, {8, 0.0}, {8, -1.0}}) {
        const auto info = ring.readSummaryColumns(count, mins, maxs, 0, width, 1e18);
        EXPECT_EQ(info, (WaveformInfo{1280, 0}));
        EXPECT_EQ(maxs[7], 0.5F);
    }
}

TEST_F(AudioRingBufferTest, KeepsTheNewestAudioAndTheNumbersWhenResized) {
    AudioRingBuffer sixty(60, memory);
    for (int second = 0; second < 90; ++second) {
        RingSamples samples(kSecond, static_cast<float>(second), 0);
        sixty.append(samples.buffer());
    }
    sixty.setFrozen(true);
    const AudioRingBuffer thirty(30, memory, sixty);
    EXPECT_EQ(thirty.info(), (WaveformInfo{90 * kSecond, 60 * kSecond}));
    EXPECT_TRUE(thirty.isFrozen());
    const auto kept = thirty.copyFrames(0, kEnd);
    ASSERT_EQ(kept.left.size(), 1'440'000u);
    for (std::size_t second = 0; second < 30; ++second) {
        EXPECT_EQ(kept.left[second * kSecond], 60 + static_cast<float>(second));
        EXPECT_EQ(kept.left[second * kSecond + kSecond - 1], 60 + static_cast<float>(second));
    }

    const AudioRingBuffer longer(120, memory, sixty);
    EXPECT_EQ(longer.info(), (WaveformInfo{90 * kSecond, 30 * kSecond}));
    EXPECT_EQ(longer.peakAmplitude(0, 31 * kSecond), 30);
    EXPECT_EQ(AudioRingBuffer(2, memory, ring).info(), (WaveformInfo{0, 0}));
}

TEST_F(AudioRingBufferTest, FadesNoMoreThanItHoldsAndEndsInSilence) {
    ring.fadeOutTail(480); // nothing is held yet
    append(1, 0.5F, 0.5F);
    ring.fadeOutTail(480);
    EXPECT_EQ(ring.peakAmplitude(0, 1), 0);
    append(200, 1, -1);
    ring.fadeOutTail(1000);
    const auto held = ring.copyFrames(0, kEnd);
    ASSERT_EQ(held.left.size(), 201u);
    EXPECT_EQ(held.left[1], 199.0F / 200.0F);
    EXPECT_EQ(held.right[101], -(99.0F / 200.0F));
    EXPECT_EQ(held.left[200], 0);
    EXPECT_EQ(held.right[200], 0);
    append(10, 0.5F, 0.5F);
    ring.fadeOutTail(0);
    ring.fadeOutTail(-3);
    EXPECT_EQ(ring.peakAmplitude(201, kEnd), 0.5F);
}

TEST(WaveformSummary, TurnsReadersWithoutTheLockAwayWhileItChanges) {
    HeapAudioMemory memory;
    WaveformSummary summary(8, memory);
    const ColumnRequest request{1, 0, 128, 1e18};
    float min = 0;
    float max = 0;
    {
        WaveformSummary::Change change(summary);
        EXPECT_EQ(summary.tryReadColumns(request, &min, &max), (WaveformInfo{0, 0})); // nothing is stored yet
        const BucketValues values{-1, 1, 1};
        change.store(0, {&values, 1});
        EXPECT_EQ(summary.tryReadColumns(request, &min, &max), std::nullopt);
        change.store({.committedBuckets = 1, .totalFramesWritten = 128});
        EXPECT_EQ(summary.tryReadColumns(request, &min, &max), std::nullopt);
        EXPECT_EQ(summary.readColumns(request, &min, &max), (WaveformInfo{128, 0}));
        EXPECT_EQ(min, -1);
    }
    EXPECT_EQ(summary.tryReadColumns(request, &min, &max), (WaveformInfo{128, 0}));
    EXPECT_EQ(max, 1);
}

} // namespace
} // namespace rewindle::test
