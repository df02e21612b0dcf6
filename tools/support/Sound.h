#pragma once

#include "support/PrivateSession.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace rewindle::support {

/// Stereo float audio, interleaved.
struct Sound {
    std::vector<float> samples;
    int rate = 48'000;
    [[nodiscard]] std::size_t frames() const { return samples.size() / 2; }
    /// The stretch [first, first + count).
    [[nodiscard]] Sound part(std::size_t first, std::size_t count) const;
};

/// Noise that no other seed gives, at most half of full scale, never zero.
Sound noise(double seconds, unsigned seed, int rate = 48'000);
/// The sound followed by silence, so that a player which leaves before its last cycle was mixed takes nothing
/// of it.
Sound padded(Sound sound, double seconds = 0.2);
void save(const Sound& sound, const Path& path);
/// Requires: a stereo file.
Sound load(const Path& path);

/// Where `part` stands in `whole`, bit by bit, from its first frame on.
std::optional<std::size_t> find(const Sound& part, const Sound& whole, std::size_t from = 0);
/// Largest absolute sample in [first, last).
float peak(const Sound& sound, std::size_t first, std::size_t last);

} // namespace rewindle::support
