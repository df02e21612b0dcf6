#include "capture/signal/PolyphaseFilter.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <numeric>
#include <vector>

namespace rewindle {
namespace {

// 192 taps at the lower rate. A Kaiser window of this length falls by 135 dB within 0.093 of half the rate
// (Kaiser's estimate: transition = (135 - 8) / (2.285 * 191 * pi), shape = 0.1102 * (135 - 8.7)); the cutoff
// lies in the middle of the fall, which then ends at half the rate: 20.0 to 22.05 kHz for an input at 44.1
// kHz.
constexpr std::int64_t kHalfTapsAtLowerRate = 96;
constexpr double kShape = 13.95;
constexpr double kCutoff = 0.9535; // of half the lower rate

constexpr std::int64_t kMaxTableBytes = std::int64_t{4} << 20;
// Where the rows would not fit, this many coefficients sample the impulse response. Blending two neighbours
// is then off by at most (pi / 2048)^2 / 8 of a sample: -130 dB.
constexpr std::int64_t kBlendedCoefficients = kHalfTapsAtLowerRate * 2 * 2048;

std::int64_t ceilDivide(std::int64_t a, std::int64_t b) {
    return (a + b - 1) / b;
}

/// Input frames on each side of the centre that the impulse response covers.
std::int64_t halfTapsFor(std::int64_t inputStep, std::int64_t outputStep) {
    const auto reached = ceilDivide(kHalfTapsAtLowerRate * std::max(inputStep, outputStep), outputStep);
    return ceilDivide(reached, 4) * 4; // rows in steps of eight taps
}

std::int64_t phasesPerFrameFor(std::int64_t outputStep, std::int64_t taps) {
    const auto tableBytes = (outputStep + 1) * taps * static_cast<std::int64_t>(sizeof(float));
    return tableBytes <= kMaxTableBytes ? outputStep : kBlendedCoefficients / taps;
}

/// The modified Bessel function of the first kind and order zero, by its power series.
double besselI0(double x) {
    double term = 1, sum = 1;
    for (int k = 1; term > sum * 1e-17; ++k) {
        const double factor = x / (2 * k);
        term *= factor * factor;
        sum += term;
    }
    return sum;
}

/// One side of the impulse response, `steps` steps from its centre to its end, so scaled that a row's sum
/// is 1.
std::vector<double> impulseResponse(std::int64_t steps, std::int64_t stepsPerFrame, double bandwidth) {
    std::vector<double> response(static_cast<std::size_t>(steps) + 1);
    response[0] = bandwidth * besselI0(kShape);
    double sum = response[0];
    for (std::size_t i = 1; i < response.size(); ++i) {
        const double frames = static_cast<double>(i) / static_cast<double>(stepsPerFrame);
        const double way = static_cast<double>(i) / static_cast<double>(steps);
        const double angle = std::numbers::pi * frames;
        response[i] = std::sin(bandwidth * angle) / angle * besselI0(kShape * std::sqrt(1 - way * way));
        sum += 2 * response[i];
    }
    for (double& value : response)
        value *= static_cast<double>(stepsPerFrame) / sum;
    return response;
}

} // namespace

PolyphaseFilter::PolyphaseFilter(std::int64_t inputRate, std::int64_t outputRate)
    : outputStep(outputRate / std::gcd(inputRate, outputRate)),
      inputStep(inputRate / std::gcd(inputRate, outputRate)), halfTaps(halfTapsFor(inputStep, outputStep)),
      delayFrames(ceilDivide(halfTaps * outputStep, inputStep)),
      phasesPerFrame_(phasesPerFrameFor(outputStep, tapCount())),
      rows_(static_cast<std::size_t>((phasesPerFrame_ + 1) * tapCount())),
      blended_(static_cast<std::size_t>(tapCount())) {
    assert(inputRate > 0 && outputRate > 0);
    const double lowerRate = static_cast<double>(std::min(inputStep, outputStep)) / static_cast<double>(inputStep);
    const auto response = impulseResponse(halfTaps * phasesPerFrame_, phasesPerFrame_, kCutoff * lowerRate);
    float* out = rows_.data();
    for (std::int64_t phase = 0; phase <= phasesPerFrame_; ++phase) {
        for (std::int64_t frame = 1 - halfTaps; frame <= halfTaps; ++frame) {
            const auto distance = std::abs(frame * phasesPerFrame_ - phase);
            *out++ = static_cast<float>(response[static_cast<std::size_t>(distance)]);
        }
    }
}

const float* PolyphaseFilter::row(std::int64_t phase) noexcept {
    assert(0 <= phase && phase < outputStep);
    if (phasesPerFrame_ == outputStep) return rows_.data() + phase * tapCount();
    const auto position = phase * phasesPerFrame_;
    const float* lower = rows_.data() + position / outputStep * tapCount();
    const float* upper = lower + tapCount();
    const auto weight = static_cast<float>(position % outputStep) / static_cast<float>(outputStep);
    float* blended = blended_.data();
    for (std::int64_t i = 0; i < tapCount(); ++i)
        blended[i] = lower[i] + weight * (upper[i] - lower[i]);
    return blended;
}

} // namespace rewindle
