#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace rewindle {

/// Mixes the channels of an output device down to stereo with the coefficients of ITU-R BS.775-3, annex 4:
/// centre and surround channels at -3 dB, the low-frequency channel left out. A mono device feeds both sides.
///
/// Shape:   one array per channel in, left and right out; float32.
/// Threads: any; `process` is real-time safe.
class StereoMixdown {
public:
    /// `positions` names each channel as the sound server does: "FL", "FR", "FC", "LFE", "SL", "MONO",
    /// "AUX0", ...
    explicit StereoMixdown(std::span<const std::string> positions);

    /// True when the first two channels are left and right and there are no others: nothing to mix.
    [[nodiscard]] bool isPassThrough() const noexcept { return passThrough_; }
    /// Overwrites `left` and `right`. Requires: as many channels as positions.
    void process(std::span<const float* const> channels, float* left, float* right,
                 std::size_t frames) const noexcept;

    struct Weights {
        float left = 0;
        float right = 0;
        friend bool operator==(const Weights&, const Weights&) = default;
    };
    /// What one channel adds to each side. Channels without a position alternate, left first.
    [[nodiscard]] static Weights weights(std::string_view position, std::size_t index);

private:
    std::vector<Weights> weights_;
    bool passThrough_ = false;
};

} // namespace rewindle
