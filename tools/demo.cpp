// The parts of the demo that need a program of their own: music that nobody owns, and an honest comparison.

#include "support/Sound.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <string>

namespace {

using rewindle::support::Sound;

constexpr int kRate = 48'000;

/// One plucked note: harmonics that fade the faster the higher they are, placed between left and right.
void addNote(Sound& sound, double start, double frequency, double level, double place) {
    const auto first = static_cast<std::size_t>(start * kRate);
    const auto last = std::min(sound.frames(), first + 2 * static_cast<std::size_t>(kRate));
    for (std::size_t frame = first; frame < last; ++frame) {
        const double time = static_cast<double>(frame - first) / kRate;
        double value = 0;
        for (int harmonic = 1; harmonic <= 6; ++harmonic) {
            value += std::exp(-time * (1.5 + harmonic)) / harmonic *
                     std::sin(2 * std::numbers::pi * frequency * harmonic * time);
        }
        value *= level * std::min(1.0, time * 200);
        sound.samples[2 * frame] += static_cast<float>(value * (1 - place));
        sound.samples[2 * frame + 1] += static_cast<float>(value * place);
    }
}

/// Broken chords over four bars, again and again.
Sound music(double seconds) {
    constexpr std::array<std::array<int, 4>, 4> kChords{
        {{57, 60, 64, 69}, {53, 57, 60, 65}, {48, 55, 60, 64}, {55, 59, 62, 67}}};
    Sound sound{std::vector<float>(2 * static_cast<std::size_t>(seconds * kRate)), kRate};
    const auto frequency = [](int key) { return 440.0 * std::exp2((key - 69) / 12.0); };
    int beat = 0;
    for (double time = 0; time < seconds; time += 0.25, ++beat) {
        const auto& chord = kChords[static_cast<std::size_t>(beat / 8 % 4)];
        const auto step = static_cast<std::size_t>(beat % 4);
        addNote(sound, time, frequency(chord[step]), 0.25, 0.3 + 0.1 * static_cast<double>(step));
        if (beat % 8 == 0) addNote(sound, time, frequency(chord[0] - 12), 0.3, 0.5);
    }
    return sound;
}

/// Without the silence from before the music began.
Sound heard(const Sound& clip) {
    std::size_t first = 0;
    while (first < clip.frames() && clip.samples[2 * first] == 0 && clip.samples[2 * first + 1] == 0)
        ++first;
    return clip.part(first, clip.frames() - first);
}

int compare(const Sound& played, const Sound& wholeClip) {
    const auto clip = heard(wholeClip);
    if (clip.frames() == 0) {
        std::printf("the clip is silent\n");
        return 1;
    }
    if (const auto at = rewindle::support::find(clip, played)) {
        std::printf("all %.3f s of music in the clip are bit-identical to what was played, from %.3f s on\n",
                    static_cast<double>(clip.frames()) / kRate, static_cast<double>(*at) / kRate);
        return 0;
    }
    std::printf("the clip differs from what was played\n");
    return 1;
}

} // namespace

int main(int argc, char** argv) try {
    if (argc == 4 && !std::strcmp(argv[1], "music")) {
        rewindle::support::save(music(std::stod(argv[2])), argv[3]);
        return 0;
    }
    if (argc == 4 && !std::strcmp(argv[1], "compare")) {
        return compare(rewindle::support::load(argv[2]), rewindle::support::load(argv[3]));
    }
    std::fputs("usage: rewindle-demo music SECONDS FILE | rewindle-demo compare PLAYED CLIP\n", stderr);
    return 2;
} catch (const std::exception& error) {
    std::fprintf(stderr, "rewindle-demo: %s\n", error.what());
    return 1;
}
