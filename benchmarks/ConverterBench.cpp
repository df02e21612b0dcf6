#include "Bench.h"

#include "capture/signal/AudioBufferListConverter.h"

#include <memory>
#include <soxr.h>
#include <vector>

namespace rewindle::bench {
namespace {

constexpr std::uint32_t kCallFrames = 441; // 10 ms
constexpr std::size_t kRoomFrames = 2'048; // soxr delivers in bursts
constexpr double kInputRate = 44'100;
constexpr double kOutputRate = 48'000;

/// soxr at its best quality: one stereo stream of separate channels, which it takes faster than interleaved
/// ones.
class SoxrStream {
public:
    SoxrStream() : stream_(nullptr, &soxr_delete) {
        const auto format = soxr_io_spec(SOXR_FLOAT32_S, SOXR_FLOAT32_S);
        const auto quality = soxr_quality_spec(SOXR_VHQ, 0);
        const auto oneThread = soxr_runtime_spec(1);
        stream_.reset(soxr_create(kInputRate, kOutputRate, 2, nullptr, &format, &quality, &oneThread));
    }
    void convert(const std::vector<float>& left, const std::vector<float>& right) {
        const float* const input[] = {left.data(), right.data()};
        float* output[] = {left_.data(), right_.data()};
        std::size_t taken = 0, made = 0;
        soxr_process(stream_.get(), input, left.size(), &taken, output, kRoomFrames, &made);
        keep(left_.data());
    }

private:
    std::unique_ptr<soxr, decltype(&soxr_delete)> stream_;
    std::vector<float> left_ = std::vector<float>(kRoomFrames), right_ = left_;
};

/// Both see the same arrays and produce as many frames in the long run.
std::vector<Row> rows() {
    struct Setup {
        std::vector<float> left = std::vector<float>(kCallFrames), right = left;
        std::unique_ptr<AudioBufferListConverter> own =
            AudioBufferListConverter::create({.sampleRate = kInputRate, .channelsPerFrame = 2, .bitsPerChannel = 32});
        SoxrStream soxr;
    };
    const auto setup = std::make_shared<Setup>();
    for (std::size_t i = 0; i < kCallFrames; ++i) {
        setup->left[i] = 0.001F * static_cast<float>(i);
        setup->right[i] = -setup->left[i];
    }
    const auto convertOwn = [setup] {
        const auto bytes = static_cast<std::uint32_t>(kCallFrames * sizeof(float));
        const AudioBuffer buffers[] = {{1, bytes, setup->left.data()}, {1, bytes, setup->right.data()}};
        keep(setup->own->convert(buffers, kCallFrames));
    };
    return {{.name = "44.1 to 48 kHz, stereo, 441 frames a call",
             .yardstickName = "soxr VHQ, the same calls",
             .required = 1.6,
             .subject = convertOwn,
             .yardstick = [setup] { setup->soxr.convert(setup->left, setup->right); }}};
}

const Registration registration({"converter", rows});

} // namespace
} // namespace rewindle::bench
