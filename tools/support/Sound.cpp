#include "support/Sound.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <sndfile.hh>
#include <stdexcept>

namespace rewindle::support {

Sound Sound::part(std::size_t first, std::size_t count) const {
    const auto begin = samples.begin() + static_cast<std::ptrdiff_t>(2 * first);
    return {std::vector<float>(begin, begin + static_cast<std::ptrdiff_t>(2 * count)), rate};
}

Sound noise(double seconds, unsigned seed, int rate) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<float> level(0.01F, 0.5F);
    Sound sound{std::vector<float>(2 * static_cast<std::size_t>(std::lround(seconds * rate))), rate};
    for (float& sample : sound.samples)
        sample = random() & 1U ? level(random) : -level(random);
    return sound;
}

Sound padded(Sound sound, double seconds) {
    sound.samples.resize(sound.samples.size() + 2 * static_cast<std::size_t>(std::lround(seconds * sound.rate)));
    return sound;
}

void save(const Sound& sound, const Path& path) {
    SndfileHandle file(path.string(), SFM_WRITE, SF_FORMAT_WAV | SF_FORMAT_FLOAT, 2, sound.rate);
    if (file.write(sound.samples.data(), static_cast<sf_count_t>(sound.samples.size())) !=
        static_cast<sf_count_t>(sound.samples.size())) {
        throw std::runtime_error("cannot write " + path.string());
    }
}

Sound load(const Path& path) {
    SndfileHandle file(path.string());
    if (file.channels() != 2) throw std::runtime_error("no stereo file: " + path.string());
    Sound sound{std::vector<float>(2 * static_cast<std::size_t>(file.frames())), file.samplerate()};
    file.read(sound.samples.data(), static_cast<sf_count_t>(sound.samples.size()));
    return sound;
}

std::optional<std::size_t> find(const Sound& part, const Sound& whole, std::size_t from) {
    // By what follows the silence that it may begin with: there is silence in many places.
    const auto loud = std::ranges::find_if(part.samples, [](float sample) { return sample != 0; });
    const auto lead = loud == part.samples.end() ? 0 : loud - part.samples.begin();
    const auto begin = whole.samples.begin();
    const auto first = begin + static_cast<std::ptrdiff_t>(2 * from);
    if (whole.samples.end() - first < lead) return std::nullopt;
    for (auto at = first + lead;; ++at) {
        at = std::search(at, whole.samples.end(), part.samples.begin() + lead, part.samples.end());
        if (at == whole.samples.end()) return std::nullopt;
        const auto start = at - lead;
        if ((start - begin) % 2 == 0 && std::equal(start, at, part.samples.begin()))
            return static_cast<std::size_t>(start - begin) / 2;
    }
}

float peak(const Sound& sound, std::size_t first, std::size_t last) {
    float highest = 0;
    for (std::size_t i = 2 * first; i < 2 * std::min(last, sound.frames()); ++i) {
        highest = std::max(highest, std::abs(sound.samples[i]));
    }
    return highest;
}

} // namespace rewindle::support
