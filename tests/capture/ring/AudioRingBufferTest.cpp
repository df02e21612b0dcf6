#include "capture/ring/AudioRingBuffer.h"

#include "capture/ring/RingSamples.h"
#include "fakes/HeapAudioMemory.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
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

    HeapAudioMemory memory;
    AudioRingBuffer ring{1, memory};
};

TEST_F(AudioRingBufferTest, TouchesNoMemoryUntilAudioComes) {
    ForbiddenMemory untouchable;
    const AudioRingBuffer longest(600, untouchable);
    const AudioRingBuffer resized(300, untouchable, longest);
    EXPECT_EQ(resized.info(), (WaveformInfo{0, 0}));
    EXPECT_EQ(longest.copyFrames(0, kEnd).left.size(), 0u);
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
    EXPECT_EQ(ring.info(), (WaveformInfo{300, 0}));
    EXPECT_EQ(ring.peakAmplitude(0, kEnd), 0.5F);
}

TEST_F(AudioRingBufferTest, StaysAsItIsWhileSomebodyCopiesAndThenIsAsLastSet) {
    append(100, 0.5F, 0.5F);
    for (const bool frozen : {false, true}) {
        auto longer = std::make_unique<AudioRingBuffer::Stillness>(ring);
        {
            const AudioRingBuffer::Stillness shorter(ring);
            ring.setFrozen(frozen);
        }
        append(100, 1, 1);
        ring.fadeOutTail(100);
        EXPECT_TRUE(ring.isFrozen());
        EXPECT_EQ(AudioRingBuffer(1, memory, ring).isFrozen(), frozen); // the copy is of this one only
        longer.reset();
        EXPECT_EQ(ring.isFrozen(), frozen);
    }
    EXPECT_EQ(ring.info(), (WaveformInfo{100, 0}));
    EXPECT_EQ(ring.copyFrames(99, 100).left[0], 0.5F);
}

} // namespace
} // namespace rewindle::test
