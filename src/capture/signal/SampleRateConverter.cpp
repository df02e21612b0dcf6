#include "capture/signal/SampleRateConverter.h"

#include <algorithm>
#include <cassert>
#include <cstring>
#include <experimental/simd>

namespace rewindle {
namespace {

namespace simd = std::experimental;
using Lanes = simd::simd<float, simd::simd_abi::deduce_t<float, 4>>;
constexpr std::int64_t kTapsPerStep = 2 * static_cast<std::int64_t>(Lanes::size());

// Input frames that are worked on at once: enough of them for several output frames of one phase, few enough
// for the first-level cache.
constexpr std::int64_t kBlockFrames = 2048;

/// Output frames of one phase: `Count` of them, `inputStride` input frames and `outputStride` output frames
/// apart. Each is summed in the same order whatever `Count` is, so that results do not depend on the
/// grouping. Sharing the taps between three frames and two channels saves a third of the time, which
/// otherwise goes into loading them.
template <int Count>
void filterFrames(const float* taps, std::int64_t tapCount, const float* left, const float* right,
                  std::int64_t inputStride, float* outLeft, float* outRight, std::int64_t outputStride) noexcept {
    Lanes leftSums[Count][2]{}, rightSums[Count][2]{};
    for (std::int64_t tap = 0; tap < tapCount; tap += kTapsPerStep) {
        for (int half = 0; half < 2; ++half) {
            const auto at = tap + half * static_cast<std::int64_t>(Lanes::size());
            const Lanes weights(taps + at, simd::element_aligned);
            for (int i = 0; i < Count; ++i) {
                leftSums[i][half] += weights * Lanes(left + i * inputStride + at, simd::element_aligned);
                rightSums[i][half] += weights * Lanes(right + i * inputStride + at, simd::element_aligned);
            }
        }
    }
    for (int i = 0; i < Count; ++i) {
        outLeft[i * outputStride] = simd::reduce(leftSums[i][0] + leftSums[i][1]);
        outRight[i * outputStride] = simd::reduce(rightSums[i][0] + rightSums[i][1]);
    }
}

} // namespace

SampleRateConverter::SampleRateConverter(std::int64_t inputRate, std::int64_t outputRate)
    : filter_(inputRate, outputRate), delayWhole_(filter_.delayFrames * filter_.inputStep / filter_.outputStep),
      delayPhase_(filter_.delayFrames * filter_.inputStep % filter_.outputStep),
      stepWhole_(filter_.inputStep / filter_.outputStep), stepPhase_(filter_.inputStep % filter_.outputStep),
      historyFrames_(delayWhole_ + filter_.halfTaps), left_(static_cast<std::size_t>(historyFrames_ + kBlockFrames)),
      right_(static_cast<std::size_t>(historyFrames_ + kBlockFrames)), filled_(historyFrames_),
      next_(historyFrames_) {
    std::fill_n(left_.data(), historyFrames_, 0.0F);
    std::fill_n(right_.data(), historyFrames_, 0.0F);
}

std::int64_t SampleRateConverter::process(StereoInput& input, float* outLeft, float* outRight,
                                          std::int64_t capacity) noexcept {
    std::int64_t total = 0;
    for (;;) {
        const auto frames = std::min(availableFrames(), capacity - total);
        writeFrames(outLeft + total, outRight + total, frames);
        total += frames;
        if (total == capacity || input.frames == 0) return total;
        takeIn(input);
    }
}

/// Drops all but the history and appends as much of `input` as fits. Requires: nothing is available.
void SampleRateConverter::takeIn(StereoInput& input) noexcept {
    const auto dropped = filled_ - historyFrames_;
    const auto taken = std::min(input.frames, kBlockFrames);
    const auto bytes = [](std::int64_t frames) { return static_cast<std::size_t>(frames) * sizeof(float); };
    std::memmove(left_.data(), left_.data() + dropped, bytes(historyFrames_));
    std::memmove(right_.data(), right_.data() + dropped, bytes(historyFrames_));
    std::memcpy(left_.data() + historyFrames_, input.left, bytes(taken));
    std::memcpy(right_.data() + historyFrames_, input.right, bytes(taken));
    input = {input.left + taken, input.right + taken, input.frames - taken};
    next_ -= dropped;
    filled_ = historyFrames_ + taken;
}

/// Output frames whose newest input frame is there: all n with next_ + (nextPhase_ + n * inputStep) /
/// outputStep below filled_.
std::int64_t SampleRateConverter::availableFrames() const noexcept {
    if (next_ >= filled_) return 0;
    const auto reach = (filled_ - next_) * filter_.outputStep - nextPhase_;
    return (reach + filter_.inputStep - 1) / filter_.inputStep;
}

/// Goes through the phases in the order of time and makes all output frames of each in one go: they use the
/// same taps and lie a whole cycle apart, `outputStep` output frames or `inputStep` input frames.
void SampleRateConverter::writeFrames(float* outLeft, float* outRight, std::int64_t frames) noexcept {
    const auto cycle = filter_.outputStep;
    const auto cycles = frames / cycle, rest = frames % cycle;
    for (std::int64_t i = 0; i < std::min(frames, cycle); ++i) {
        writePhase(outLeft + i, outRight + i, cycles + (i < rest ? 1 : 0));
        moveOn(stepWhole_, stepPhase_);
    }
    if (cycles == 0) return;
    const auto beyond = (frames - cycle) * filter_.inputStep; // the loop has gone through one cycle
    moveOn(beyond / cycle, beyond % cycle);
}

/// Writes `frames` frames of the next output frame's phase.
void SampleRateConverter::writePhase(float* outLeft, float* outRight, std::int64_t frames) noexcept {
    const auto inputStride = filter_.inputStep, outputStride = filter_.outputStep;
    auto centre = next_ - delayWhole_;
    auto phase = nextPhase_ - delayPhase_;
    if (phase < 0) {
        phase += outputStride;
        --centre;
    }
    const float* taps = filter_.row(phase);
    const float* left = left_.data() + centre - filter_.halfTaps + 1;
    const float* right = right_.data() + centre - filter_.halfTaps + 1;
    const auto run = [&]<int Count>(std::integral_constant<int, Count>) {
        filterFrames<Count>(taps, filter_.tapCount(), left, right, inputStride, outLeft, outRight, outputStride);
        left += Count * inputStride;
        right += Count * inputStride;
        outLeft += Count * outputStride;
        outRight += Count * outputStride;
    };
    for (; frames >= 3; frames -= 3)
        run(std::integral_constant<int, 3>{});
    if (frames == 2) run(std::integral_constant<int, 2>{});
    if (frames == 1) run(std::integral_constant<int, 1>{});
}

void SampleRateConverter::moveOn(std::int64_t whole, std::int64_t phase) noexcept {
    next_ += whole;
    nextPhase_ += phase;
    if (nextPhase_ < filter_.outputStep) return;
    nextPhase_ -= filter_.outputStep;
    ++next_;
}

} // namespace rewindle
