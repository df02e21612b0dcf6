#include "Bench.h"
#include "LinearRead.h"
#include "PageMemory.h"

#include "capture/ring/AudioRingBuffer.h"

#include <array>
#include <cstring>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace rewindle::bench {
namespace {

constexpr std::int64_t kEnd = std::numeric_limits<std::int64_t>::max();

std::vector<float> noise(std::size_t size, unsigned seed) {
    std::mt19937 engine(seed);
    std::normal_distribution<float> level(0, 0.2F);
    std::vector<float> samples(size);
    for (float& sample : samples)
        sample = level(engine);
    return samples;
}

/// A ring that has been filled once, so that all of its pages are there.
struct FullRing {
    explicit FullRing(std::int64_t seconds) : ring(seconds, memory) {
        AudioPCMBuffer buffer;
        buffer.frameLength = AudioRingBuffer::kFramesPerSecond;
        buffer.channels = {left.data(), right.data()};
        for (std::int64_t second = 0; second <= seconds; ++second)
            ring.append(buffer);
    }

    PageMemory memory;
    std::vector<float> left = noise(AudioRingBuffer::kFramesPerSecond, 1);
    std::vector<float> right = noise(AudioRingBuffer::kFramesPerSecond, 2);
    AudioRingBuffer ring;
};

/// The least that an append can do: two memcpy to the same positions of an equally large ring.
class PlainRing {
public:
    explicit PlainRing(std::int64_t seconds) : capacity_(seconds * AudioRingBuffer::kFramesPerSecond) {
        for (auto& channel : channels_) {
            channel = memory_.allocate(static_cast<std::size_t>(capacity_) * sizeof(float));
            std::memset(channel.get(), 1, static_cast<std::size_t>(capacity_) * sizeof(float));
        }
    }
    void append(const float* left, const float* right, std::int64_t frames) {
        while (frames > 0) {
            const std::int64_t run = std::min(frames, capacity_ - position_);
            const auto bytes = static_cast<std::size_t>(run) * sizeof(float);
            std::memcpy(static_cast<float*>(channels_[0].get()) + position_, left, bytes);
            std::memcpy(static_cast<float*>(channels_[1].get()) + position_, right, bytes);
            left += run;
            right += run;
            frames -= run;
            position_ = position_ + run == capacity_ ? 0 : position_ + run;
        }
        keep(channels_[0].get());
    }

private:
    std::int64_t capacity_;
    std::int64_t position_ = 0;
    PageMemory memory_;
    std::array<AudioMemory::Block, 2> channels_;
};

std::vector<Row> appendRows() {
    auto full = std::make_shared<FullRing>(300);
    auto plain = std::make_shared<PlainRing>(300);
    std::vector<Row> rows;
    for (const std::int64_t frames : {2048, 480, 256, 64}) {
        AudioPCMBuffer buffer;
        buffer.frameLength = frames;
        buffer.channels = {full->left.data(), full->right.data()};
        rows.push_back({"append of " + std::to_string(frames) + " frames, 300 s", "two memcpy into such a ring",
                        frames == 2048 ? 1.5 : 1.7, [full, buffer] { full->ring.append(buffer); },
                        [full, plain, frames] { plain->append(full->left.data(), full->right.data(), frames); }});
    }
    return rows;
}

/// Copies into storage whose pages are there, by the chunk of an export.
std::vector<Row> copyRows() {
    constexpr std::int64_t kExportChunk = 262'144;
    auto full = std::make_shared<FullRing>(600);
    const auto size = static_cast<std::size_t>(full->ring.capacityFrames);
    auto source = std::make_shared<std::vector<float>>(size, 0.5F);
    auto left = std::make_shared<std::vector<float>>(size);
    auto right = std::make_shared<std::vector<float>>(size);
    return {{"copy of 600 s in pieces", "memcpy of as much", 1.15,
             [=] {
                 for (std::int64_t first = 0, end = 0; first < full->ring.capacityFrames; first = end) {
                     end = std::min(first + kExportChunk, full->ring.capacityFrames);
                     const auto room = [&](std::vector<float>& samples) {
                         return std::span(samples).subspan(static_cast<std::size_t>(first),
                                                           static_cast<std::size_t>(end - first));
                     };
                     full->ring.copyFramesWithoutLock(full->ring.oldestRetainedFrame() + first,
                                                      full->ring.oldestRetainedFrame() + end, room(*left),
                                                      room(*right));
                 }
                 keep(left->data());
             },
             [=] {
                 std::memcpy(left->data(), source->data(), size * sizeof(float));
                 std::memcpy(right->data(), source->data(), size * sizeof(float));
                 keep(left->data());
             }}};
}

std::vector<Row> readRows() {
    auto full = std::make_shared<FullRing>(600);
    auto first = std::make_shared<std::vector<float>>(noise(static_cast<std::size_t>(full->ring.bucketCount), 3));
    auto second = std::make_shared<std::vector<float>>(noise(first->size(), 4));
    std::vector<Row> rows{{"peak of 600 s", "linear read of the peaks", 2.0,
                           [full] {
                               const float peak = full->ring.peakAmplitude(0, kEnd);
                               keep(&peak);
                           },
                           [first] {
                               const float result = linearRead(*first);
                               keep(&result);
                           }}};
    for (const int count : {802, 4002}) {
        auto mins = std::make_shared<std::vector<float>>();
        auto maxs = std::make_shared<std::vector<float>>();
        const WaveformInfo info = full->ring.info();
        const auto start = static_cast<double>(info.oldestFrame);
        const auto end = static_cast<double>(info.totalFramesWritten);
        rows.push_back({std::to_string(count) + " columns of 600 s", "linear read of both arrays",
                        count == 802 ? 2.0 : 3.0,
                        [=] {
                            full->ring.readSummaryColumns(count, *mins, *maxs, start, (end - start) / count, end);
                            keep(mins->data());
                        },
                        [=] {
                            const float result = linearRead(*first) + linearRead(*second);
                            keep(&result);
                        }});
    }
    return rows;
}

const Registration append({"append", appendRows});
const Registration copy({"copy", copyRows});
const Registration read({"summary", readRows});

} // namespace
} // namespace rewindle::bench
