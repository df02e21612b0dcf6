#include "capture/signal/StereoMixdown.h"

#include <algorithm>
#include <array>

namespace rewindle {
namespace {

constexpr float kMinus3dB = 0.70710678F; // sqrt(1/2)

struct Entry {
    std::string_view position;
    StereoMixdown::Weights weights;
};
constexpr std::array kTable{
    Entry{"FL", {1, 0}},
    Entry{"FR", {0, 1}},
    Entry{"MONO", {1, 1}},
    Entry{"FC", {kMinus3dB, kMinus3dB}},
    Entry{"LFE", {0, 0}},
    Entry{"LFE2", {0, 0}},
    Entry{"SL", {kMinus3dB, 0}},
    Entry{"SR", {0, kMinus3dB}},
    Entry{"RL", {kMinus3dB, 0}},
    Entry{"RR", {0, kMinus3dB}},
    Entry{"RC", {0.5F, 0.5F}}, // a mono surround feeds both surrounds at -3 dB, each of which comes in at -3
                               // dB
    Entry{"FLC", {kMinus3dB, 0}},
    Entry{"FRC", {0, kMinus3dB}},
};

} // namespace

StereoMixdown::StereoMixdown(std::span<const std::string> positions) {
    for (std::size_t i = 0; i < positions.size(); ++i)
        weights_.push_back(weights(positions[i], i));
    if (weights_.size() == 1) weights_[0] = {1, 1};
    passThrough_ = weights_.size() == 2 && weights_[0] == Weights{1, 0} && weights_[1] == Weights{0, 1};
}

StereoMixdown::Weights StereoMixdown::weights(std::string_view position, std::size_t index) {
    const auto* const known =
        std::ranges::find_if(kTable, [&](const Entry& entry) { return entry.position == position; });
    if (known != kTable.end()) return known->weights;
    if (position.size() == 3 && position[0] == 'T') { // height channels, "TFL" ... "TRC": as surrounds
        if (position[2] == 'L') return {kMinus3dB, 0};
        if (position[2] == 'R') return {0, kMinus3dB};
        return {0.5F, 0.5F};
    }
    return index % 2 == 0 ? Weights{1, 0} : Weights{0, 1};
}

void StereoMixdown::process(std::span<const float* const> channels, float* left, float* right,
                            std::size_t frames) const noexcept {
    std::fill_n(left, frames, 0.0F);
    std::fill_n(right, frames, 0.0F);
    for (std::size_t i = 0; i < weights_.size(); ++i) {
        const auto add = [&](float* to, float weight) {
            if (weight == 0) return;
            const float* from = channels[i];
            for (std::size_t frame = 0; frame < frames; ++frame)
                to[frame] += weight * from[frame];
        };
        add(left, weights_[i].left);
        add(right, weights_[i].right);
    }
}

} // namespace rewindle
