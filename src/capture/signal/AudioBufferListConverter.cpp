#include "capture/signal/AudioBufferListConverter.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstring>

namespace rewindle {
namespace {

constexpr double kTargetRate = 48'000;
constexpr double kLowestRate = 8'000;
constexpr double kHighestRate = 384'000;
constexpr std::int64_t kCapacityMargin = 32;
constexpr std::int64_t kLeastScratchFrames = 4096;

bool isUsable(const StreamDescription& tap) {
    const bool rateInRange = tap.sampleRate >= kLowestRate && tap.sampleRate <= kHighestRate; // false for NaN
    return rateInRange && std::floor(tap.sampleRate) == tap.sampleRate && tap.isFloat && tap.bitsPerChannel == 32;
}

StreamDescription stereo(double sampleRate) {
    return {.sampleRate = sampleRate,
            .channelsPerFrame = 2,
            .bitsPerChannel = 32,
            .isFloat = true,
            .isInterleaved = false};
}

/// False also for a buffer without data.
bool holds(const AudioBuffer& buffer, std::int64_t bytes) {
    return buffer.data != nullptr && static_cast<std::int64_t>(buffer.byteSize) >= bytes;
}

/// Splits frames of `channels` samples; a constant lets the compiler vectorise the loop.
template <class Channels>
void deinterleave(const float* __restrict samples, Channels channels, std::int64_t frames, float* __restrict left,
                  float* __restrict right) noexcept {
    for (std::int64_t i = 0; i < frames; ++i) {
        left[i] = samples[i * channels];
        right[i] = samples[i * channels + 1];
    }
}

std::optional<SampleRateConverter> converterFrom(double rate) {
    if (rate == kTargetRate) return std::nullopt;
    return std::make_optional<SampleRateConverter>(static_cast<std::int64_t>(rate),
                                                   static_cast<std::int64_t>(kTargetRate));
}

/// Room for what `frames` frames at the working rate become.
std::int64_t conversionCapacity(std::int64_t frames, double workingRate) {
    const double out = std::ceil(kTargetRate * static_cast<double>(frames) / workingRate);
    assert(std::isfinite(out) && out >= 0 && out < 0x1p32 - static_cast<double>(kCapacityMargin));
    return static_cast<std::int64_t>(out) + kCapacityMargin;
}

} // namespace

std::unique_ptr<AudioBufferListConverter> AudioBufferListConverter::create(const StreamDescription& tap) {
    if (!isUsable(tap)) return nullptr;
    return std::unique_ptr<AudioBufferListConverter>(new AudioBufferListConverter(tap));
}

AudioBufferListConverter::AudioBufferListConverter(const StreamDescription& tap)
    : tapChannelCount(std::max<std::int64_t>(tap.channelsPerFrame, 1)),
      audioSampleByteSize(std::max<std::int64_t>(tap.bitsPerChannel, 8) / 8), workingFormat(stereo(tap.sampleRate)),
      targetFormat(stereo(kTargetRate)), converter_(converterFrom(tap.sampleRate)) {}

AudioBufferListConverter::Capacities AudioBufferListConverter::capacities() const noexcept {
    return {workingBuffer_.capacity(), conversionBuffer_.capacity(), conversionScratchBuffer_.capacity()};
}

bool AudioBufferListConverter::hasBufferPerChannel(AudioBufferList input) const noexcept {
    return input.size() >= 2 && input.back().channelCount != tapChannelCount;
}

std::uint32_t AudioBufferListConverter::frameCount(AudioBufferList input) const noexcept {
    if (input.empty()) return 0;
    if (hasBufferPerChannel(input)) {
        const auto first = std::ssize(input) - tapChannelCount;
        if (first < 0) return 0;
        return static_cast<std::uint32_t>(input[static_cast<std::size_t>(first)].byteSize / audioSampleByteSize);
    }
    const auto bytesPerFrame = input.back().channelCount * audioSampleByteSize;
    return bytesPerFrame < 1 ? 0 : static_cast<std::uint32_t>(input.back().byteSize / bytesPerFrame);
}

const AudioPCMBuffer* AudioBufferListConverter::convert(AudioBufferList input, std::uint32_t frameCount) {
    const std::int64_t frames = frameCount;
    const auto source = findChannels(input, frames);
    if (!source || frames == 0) return nullptr;
    workingBuffer_.ensureCapacity(frames);
    copyToWorking(*source, frames);
    hasConverted_ = true;
    return converter_ ? convertRate() : &workingBuffer_.view;
}

const AudioPCMBuffer* AudioBufferListConverter::drain() {
    if (!converter_ || !hasConverted_) return nullptr;
    const auto late = static_cast<double>(delayFrames());
    const auto frames = static_cast<std::int64_t>(std::ceil(late * workingFormat.sampleRate / kTargetRate)) + 1;
    workingBuffer_.ensureCapacity(frames);
    for (float* channel : workingBuffer_.view.channels)
        std::fill_n(channel, frames, 0.0F);
    workingBuffer_.view.frameLength = frames;
    if (!convertRate()) return nullptr;
    conversionBuffer_.view.frameLength = std::min(conversionBuffer_.view.frameLength, delayFrames());
    return &conversionBuffer_.view;
}

std::optional<AudioBufferListConverter::Source>
AudioBufferListConverter::findChannels(AudioBufferList input, std::int64_t frames) const noexcept {
    if (input.empty()) return std::nullopt;
    if (hasBufferPerChannel(input)) return findSeparateChannels(input, frames);
    const AudioBuffer& buffer = input.back();
    const std::int64_t channels = buffer.channelCount;
    if (channels == 0 || !holds(buffer, frames * channels * audioSampleByteSize)) return std::nullopt;
    const auto* samples = static_cast<const float*>(buffer.data);
    return Source{samples, channels == 1 ? samples : samples + 1, channels};
}

std::optional<AudioBufferListConverter::Source>
AudioBufferListConverter::findSeparateChannels(AudioBufferList input, std::int64_t frames) const noexcept {
    if (std::ssize(input) < tapChannelCount) return std::nullopt;
    const auto channels = input.last(static_cast<std::size_t>(tapChannelCount));
    const AudioBuffer& left = channels.front();
    const AudioBuffer& right = tapChannelCount == 1 ? left : channels[1];
    const auto bytes = frames * audioSampleByteSize;
    if (!holds(left, bytes) || !holds(right, bytes)) return std::nullopt;
    return Source{static_cast<const float*>(left.data), static_cast<const float*>(right.data), 1};
}

void AudioBufferListConverter::copyToWorking(const Source& source, std::int64_t frames) noexcept {
    const auto [left, right] = workingBuffer_.view.channels;
    workingBuffer_.view.frameLength = frames;
    if (source.stride == 1) {
        const auto bytes = static_cast<std::size_t>(frames * audioSampleByteSize);
        std::memcpy(left, source.left, bytes);
        std::memcpy(right, source.right, bytes);
    } else if (source.stride == 2) {
        deinterleave(source.left, std::integral_constant<std::int64_t, 2>{}, frames, left, right);
    } else {
        deinterleave(source.left, source.stride, frames, left, right);
    }
}

/// Drains the converter pass by pass: one is enough unless it filled the scratch buffer.
const AudioPCMBuffer* AudioBufferListConverter::convertRate() {
    const AudioPCMBuffer& working = workingBuffer_.view;
    const auto capacity = conversionCapacity(working.frameLength, workingFormat.sampleRate);
    conversionBuffer_.ensureCapacity(capacity);
    conversionScratchBuffer_.ensureCapacity(std::max(capacity, kLeastScratchFrames));

    conversionBuffer_.view.frameLength = 0;
    StereoInput input{working.channels[0], working.channels[1], working.frameLength};
    const auto scratchCapacity = conversionScratchBuffer_.capacity();
    for (auto passFrames = scratchCapacity; passFrames == scratchCapacity;) {
        const auto [left, right] = conversionScratchBuffer_.view.channels;
        passFrames = converter_->process(input, left, right, scratchCapacity);
        appendScratch(passFrames);
    }
    return conversionBuffer_.view.frameLength > 0 ? &conversionBuffer_.view : nullptr;
}

void AudioBufferListConverter::appendScratch(std::int64_t frames) noexcept {
    AudioPCMBuffer& out = conversionBuffer_.view;
    assert(out.frameLength + frames <= conversionBuffer_.capacity());
    for (std::size_t channel = 0; channel < out.channels.size(); ++channel) {
        std::memcpy(out.channels[channel] + out.frameLength, conversionScratchBuffer_.view.channels[channel],
                    static_cast<std::size_t>(frames) * sizeof(float));
    }
    out.frameLength += frames;
}

void AudioBufferListConverter::PCMBuffer::ensureCapacity(std::int64_t frames) {
    if (capacity() >= frames) return;
    const auto size = static_cast<std::size_t>(frames);
    samples = {}; // first, so that old and new never exist together
    samples = {SampleArray(size), SampleArray(size)};
    view.channels = {samples.left.data(), samples.right.data()};
}

} // namespace rewindle
