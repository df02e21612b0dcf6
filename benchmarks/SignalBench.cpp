#include "Bench.h"

#include "base/Clock.h"
#include "capture/signal/CaptureSeamSoftener.h"
#include "meter/CaptureLevelMeter.h"

#include <cmath>
#include <cstring>
#include <experimental/simd>
#include <memory>
#include <vector>

namespace rewindle::bench {
namespace {

constexpr std::size_t kFrames = 2048;

/// One captured buffer, and room for a copy of it.
struct Buffers {
    Buffers() {
        for (std::size_t i = 0; i < kFrames; ++i) {
            left[i] = std::sin(0.05F * static_cast<float>(i));
            right[i] = 0.5F * left[i];
        }
    }
    [[nodiscard]] AudioPCMBuffer view() { return {.frameLength = kFrames, .channels = {left.data(), right.data()}}; }
    void copy() {
        std::memcpy(leftCopy.data(), left.data(), kFrames * sizeof(float));
        std::memcpy(rightCopy.data(), right.data(), kFrames * sizeof(float));
        keep(leftCopy.data());
        keep(rightCopy.data());
    }

    std::vector<float> left = std::vector<float>(kFrames);
    std::vector<float> right = left;
    std::vector<float> leftCopy = left;
    std::vector<float> rightCopy = left;
};

/// Reads every sample once, as fast as the processor loads: each vector is added to one of four sums.
float linearRead(const std::vector<float>& samples) {
    using Vector = std::experimental::native_simd<float>;
    constexpr std::size_t kWidth = Vector::size();
    static_assert(kFrames % (4 * kWidth) == 0);
    Vector a = 0.0F;
    Vector b = 0.0F;
    Vector c = 0.0F;
    Vector d = 0.0F;
    const auto load = [&](std::size_t i) { return Vector(&samples[i], std::experimental::element_aligned); };
    for (std::size_t i = 0; i < kFrames; i += 4 * kWidth) {
        a += load(i);
        b += load(i + kWidth);
        c += load(i + 2 * kWidth);
        d += load(i + 3 * kWidth);
    }
    return reduce(a + b + c + d);
}

Row gainRow(const std::shared_ptr<Buffers>& buffers) {
    const auto softener = std::make_shared<CaptureSeamSoftener>();
    const auto undo = std::make_shared<CaptureSeamSoftener>();
    softener->setGain(6, false);
    undo->setGain(-6, false);
    const auto isUp = std::make_shared<bool>(false); // up and down in turn, so that the samples stay in range
    return {"gain, 2 x 2048 frames, constant", "memcpy of the same", 4.0,
            [=] {
                (*isUp ? *undo : *softener).process(buffers->view());
                *isUp = !*isUp;
                keep(buffers->left.data());
            },
            [=] { buffers->copy(); }};
}

Row meterRow(const std::shared_ptr<Buffers>& buffers) {
    const auto clock = std::make_shared<SystemClock>();
    const auto meter = std::make_shared<CaptureLevelMeter>(*clock);
    return {"meter ingest, 2 x 2048 frames", "linear read of the same", 2.5,
            [=] {
                (void)clock; // the meter reads it
                meter->ingest(buffers->view());
                keep(meter.get());
            },
            [=] {
                const float sum = linearRead(buffers->left) + linearRead(buffers->right);
                keep(&sum);
            }};
}

const Registration
    kSignal({"signal", [] {
                 return std::vector{gainRow(std::make_shared<Buffers>()), meterRow(std::make_shared<Buffers>())};
             }});

} // namespace
} // namespace rewindle::bench
