#include "capture/ring/AudioRingBuffer.h"

#include "capture/ring/RangeCopy.h"
#include "capture/ring/RingSamples.h"
#include "fakes/AllocationCounter.h"
#include "fakes/HeapAudioMemory.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <optional>
#include <random>

namespace rewindle::test {
namespace {

using Position = std::int64_t;

struct Extremes {
    float min = std::numeric_limits<float>::max();
    float max = std::numeric_limits<float>::lowest();
    friend bool operator==(const Extremes&, const Extremes&) = default;
};

/// The retained audio as one would write it down without a thought for memory or time: every frame ever
/// appended.
class PlainRing {
public:
    explicit PlainRing(Position seconds) : capacity_(seconds * 48'000) {}

    bool isFrozen = false;
    [[nodiscard]] Position total() const { return static_cast<Position>(frames_.size()); }
    [[nodiscard]] Position oldest() const { return oldest_; }

    void append(const RingSamples& samples) {
        if (isFrozen) return;
        for (std::size_t i = 0; i < samples.left.size(); ++i)
            frames_.push_back({samples.left[i], samples.right[i]});
        oldest_ = std::max(oldest_, total() - capacity_);
    }

    void resize(Position seconds) {
        capacity_ = seconds * 48'000;
        oldest_ = std::max(oldest_, total() - capacity_);
        retakeSummary(oldest_);
    }

    void fadeOutTail(Position count) {
        if (isFrozen) return;
        const Position faded = std::min(count, total() - oldest_);
        if (faded < 1) return;
        for (Position i = 0; i < faded; ++i) {
            const float gain = faded == 1 ? 0 : static_cast<float>(faded - 1 - i) / static_cast<float>(faded - 1);
            Frame& frame = at(total() - faded + i);
            frame = {frame.left * gain, frame.right * gain};
        }
        retakeSummary(total() - faded);
    }

    [[nodiscard]] RingSamples copy(Position start, Position end) const {
        RingSamples samples;
        for (Position f = std::max(start, oldest_); f < std::min(end, total()); ++f) {
            samples.left.push_back(at(f).left);
            samples.right.push_back(at(f).right);
        }
        return samples;
    }

    [[nodiscard]] float peak(Position start, Position end) const {
        const auto [left, right] = copy(start, end);
        float peak = 0;
        for (std::size_t i = 0; i < left.size(); ++i)
            peak = std::max({peak, std::abs(left[i]), std::abs(right[i])});
        return peak;
    }

    /// What a column of [start, end) shows; nothing when no frame that is held lies in it.
    [[nodiscard]] std::optional<Extremes> column(double start, double end) const {
        const double low = std::max(start, static_cast<double>(oldest_));
        const double high = std::min(end, static_cast<double>(total()));
        if (high <= low) return std::nullopt;
        Extremes extremes;
        bool any = false;
        for (Position b = static_cast<Position>(low) / 128; b <= static_cast<Position>(high - 1) / 128; ++b) {
            const auto seen = firstSeen_.find(b); // a summary keeps what it saw, also when its frames are gone
            const Position from = seen == firstSeen_.end() ? b * 128 : seen->second;
            for (Position f = from; f < std::min(b * 128 + 128, total()); ++f, any = true) {
                const float mid = (at(f).left + at(f).right) * 0.5F;
                extremes = {std::min(extremes.min, mid), std::max(extremes.max, mid)};
            }
        }
        return any ? std::optional(extremes) : std::nullopt;
    }

private:
    struct Frame {
        float left = 0;
        float right = 0;
    };
    [[nodiscard]] Frame& at(Position frame) { return frames_[static_cast<std::size_t>(frame)]; }
    [[nodiscard]] const Frame& at(Position frame) const { return frames_[static_cast<std::size_t>(frame)]; }

    /// Buckets from `start` on are looked at anew, so that the first one held may miss the frames that are
    /// gone.
    void retakeSummary(Position start) {
        if (start / 128 == oldest_ / 128) firstSeen_[oldest_ / 128] = oldest_;
    }

    Position capacity_;
    Position oldest_ = 0;
    std::vector<Frame> frames_;
    std::map<Position, Position> firstSeen_;
};

class AudioRingBufferModelTest : public testing::TestWithParam<unsigned> {
protected:
    Position between(Position low, Position high) { return std::uniform_int_distribution(low, high)(random_); }
    /// Mostly the sizes of real buffers and their neighbours, now and then one that is longer than the ring.
    Position someLength() {
        constexpr Position kUsual[] = {1, 2, 3, 7, 63, 64, 65, 127, 128, 129, 255, 441, 480, 512, 1000, 2048, 4097};
        constexpr Position kLong[] = {16'383, 16'384, 16'385, 47'999, 48'000, 48'001, 100'003};
        return between(0, 9) > 0 ? kUsual[between(0, 16)] : kLong[between(0, 6)];
    }
    /// Somewhere near what is held, often just outside of it.
    Position somePosition() { return between(model_.oldest() - 3000, model_.total() + 3000); }
    /// Now and then an end of the numbers instead.
    Position orAnEnd(Position position) {
        constexpr Position kEnd = std::numeric_limits<Position>::max();
        const Position choice = between(0, 20);
        return choice == 0 ? -kEnd : choice == 1 ? kEnd : position;
    }
    RingSamples someSamples() {
        const Position frames = someLength();
        const float level = between(0, 4) == 0 ? 0.0F : 1.0F / static_cast<float>(between(1, 100));
        RingSamples samples(frames, 0, 0);
        for (float& sample : samples.left)
            sample = someLevel() * level;
        for (float& sample : samples.right)
            sample = someLevel() * level;
        return samples;
    }
    float someLevel() { return static_cast<float>(static_cast<std::int32_t>(random_())) / 2'147'483'648.0F; }

    void change() {
        const Position kind = between(0, 29);
        if (kind < 23) {
            RingSamples samples = someSamples();
            ring_->append(samples.buffer());
            model_.append(samples);
        } else if (kind < 26) {
            const Position frames = someLength() - between(0, 3); // none, and less than none, too
            const auto before = allocationsOfThisThread();
            ring_->fadeOutTail(frames);
            EXPECT_EQ(allocationsOfThisThread(), before);
            model_.fadeOutTail(frames);
        } else if (kind < 29) {
            model_.isFrozen = between(0, 2) == 0;
            ring_->setFrozen(model_.isFrozen);
        } else {
            const Position seconds = between(1, 3);
            ring_ = std::make_unique<AudioRingBuffer>(seconds, memory_, *ring_);
            model_.resize(seconds);
        }
    }

    void checkState() {
        ASSERT_EQ(ring_->info(), (WaveformInfo{model_.total(), model_.oldest()}));
        ASSERT_EQ(ring_->isFrozen(), model_.isFrozen);
        ASSERT_EQ(ring_->retainedFrameCount(), model_.total() - model_.oldest());
    }

    void checkCopy(Position start, Position end) {
        const RingSamples expected = model_.copy(start, end);
        const auto held = between(0, 1) == 0 ? ring_->copyFrames(start, end)
                                             : copyFramesInChunks(*ring_, start, end, someLength() - 1);
        ASSERT_TRUE(std::ranges::equal(std::span<const float>(held.left), expected.left));
        ASSERT_TRUE(std::ranges::equal(std::span<const float>(held.right), expected.right));
    }

    void checkColumns() {
        constexpr double kWidths[] = {0.37, 1, 63.5, 128, 128.3, 555.5, 2047.9};
        const Position count = between(1, 40);
        const double width = kWidths[between(0, 6)];
        const double start = static_cast<double>(somePosition()) + 0.25 * static_cast<double>(between(0, 3));
        const double limit = static_cast<double>(between(0, 2) == 0 ? somePosition() : model_.total() + 9999);
        const std::size_t room = std::max(mins_.size(), static_cast<std::size_t>(count));
        ring_->readSummaryColumns(count, mins_, maxs_, start, width, limit);
        for (const auto& [noCount, noWidth] :
             {std::pair(Position{0}, width), {-1, width}, {count, 0.0}, {count, -1.0}})
            ASSERT_EQ(ring_->readSummaryColumns(noCount, mins_, maxs_, start, noWidth, limit), ring_->info());
        ASSERT_EQ(mins_.size(), room); // never shrinks
        for (Position i = 0; i < count; ++i) {
            SCOPED_TRACE(testing::Message() << "column " << i << " of " << width << " from " << start);
            const double left = start + width * static_cast<double>(i);
            const auto expected = model_.column(left, std::min(left + width, limit));
            const auto at = static_cast<std::size_t>(i);
            if (expected) {
                ASSERT_EQ((Extremes{mins_[at], maxs_[at]}), *expected);
            } else {
                ASSERT_EQ(std::bit_cast<std::uint32_t>(mins_[at]), 0x7FC00000U);
                ASSERT_EQ(std::bit_cast<std::uint32_t>(maxs_[at]), 0x7FC00000U);
            }
        }
    }

    std::mt19937 random_{GetParam()};
    HeapAudioMemory memory_;
    std::unique_ptr<AudioRingBuffer> ring_ = std::make_unique<AudioRingBuffer>(1, memory_);
    PlainRing model_{1};
    std::vector<float> mins_;
    std::vector<float> maxs_;
};

TEST_P(AudioRingBufferModelTest, HoldsWhatAPlainModelHoldsAfterAnyHistory) {
    ring_->fadeOutTail(480); // nothing is held yet
    for (int step = 0; step < 1500; ++step) {
        SCOPED_TRACE(testing::Message() << "step " << step);
        change();
        ASSERT_NO_FATAL_FAILURE(checkState());
        const Position near = somePosition();
        const Position start = orAnEnd(near);
        const Position end = orAnEnd(near + between(0, 5) * someLength() - 5);
        switch (between(0, 3)) {
        case 0: ASSERT_NO_FATAL_FAILURE(checkCopy(start, end)); break;
        case 1: ASSERT_EQ(ring_->peakAmplitude(start, end), model_.peak(start, end)); break;
        case 2: ASSERT_NO_FATAL_FAILURE(checkColumns()); break;
        default: break;
        }
    }
    ASSERT_NO_FATAL_FAILURE(checkCopy(0, model_.total()));
    ASSERT_EQ(ring_->peakAmplitude(0, model_.total()), model_.peak(0, model_.total()));
}

INSTANTIATE_TEST_SUITE_P(Seeds, AudioRingBufferModelTest, testing::Values(1U, 2U, 3U, 4U));

} // namespace
} // namespace rewindle::test
