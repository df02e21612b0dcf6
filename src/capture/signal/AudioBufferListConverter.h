#pragma once

#include "base/AudioBufferList.h"
#include "base/AudioPCMBuffer.h"
#include "base/SampleArray.h"
#include "capture/signal/SampleRateConverter.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace rewindle {

/// Turns the buffers of an I/O cycle into the working format: stereo float32 at 48,000 frames per second, one array
/// per channel.
///
/// Shape:     the tap's channels are the last ones of the list, because a device may deliver other input streams
///            ahead of them. One channel feeds both sides; of several the first two are taken.
/// Threads:   the capture queue.
/// Real time: allocates only when an input is larger than all before it; blocks on nothing.
/// Errors:    an input that is empty or does not hold what the tap's format promises yields nothing.
/// Lifecycle: one per capture start, for the format that the tap reports then. At a tap rate other than 48,000 the
///            output is late by a constant: see `delayFrames`.
class AudioBufferListConverter {
public:
    /// What the buffers can hold now, in frames; 0 for one that does not exist yet.
    struct Capacities {
        std::int64_t working = 0;
        std::int64_t conversion = 0;
        std::int64_t conversionScratch = 0;
    };

    /// Prepares the rate converter where one is needed, in up to 20 ms. Returns nothing unless the stream is
    /// 32-bit float at a whole number of frames per second, 8,000 to 384,000. Whether its channels are
    /// interleaved is read from each list of buffers.
    [[nodiscard]] static std::unique_ptr<AudioBufferListConverter> create(const StreamDescription& tap);

    const std::int64_t tapChannelCount;     // at least 1
    const std::int64_t audioSampleByteSize; // of the tap's samples
    const StreamDescription workingFormat;  // the tap's rate, two separate channels
    const StreamDescription targetFormat;   // the same at 48,000

    /// The frames that a list of buffers holds by its byte sizes; 0 when it lacks channels of the tap.
    [[nodiscard]] std::uint32_t frameCount(AudioBufferList input) const noexcept;

    /// The audio of `frameCount` frames of `input`, null when there is none. Whoever gets the buffer may
    /// change its samples in place; it is overwritten by the next call and lives as long as the converter.
    [[nodiscard]] const AudioPCMBuffer* convert(AudioBufferList input, std::uint32_t frameCount);

    /// The end of what was converted, which is late by `delayFrames`; null when nothing is. The last call.
    [[nodiscard]] const AudioPCMBuffer* drain();

    /// By how many output frames the output is late: 0 at 48,000, else `SampleRateConverter::delayFrames`.
    [[nodiscard]] std::int64_t delayFrames() const noexcept { return converter_ ? converter_->delayFrames() : 0; }
    [[nodiscard]] Capacities capacities() const noexcept;

private:
    /// A buffer with storage of its own, which is replaced when it is too small and never shrinks.
    struct PCMBuffer {
        StereoSamples samples;
        AudioPCMBuffer view; // its length is what was written last
        void ensureCapacity(std::int64_t frames);
        [[nodiscard]] std::int64_t capacity() const noexcept {
            return static_cast<std::int64_t>(samples.left.size());
        }
    };

    /// Where the two channels lie in an input; both in the same place for a single one.
    struct Source {
        const float* left;
        const float* right;
        std::int64_t stride; // samples from one frame to the next
    };

    explicit AudioBufferListConverter(const StreamDescription& tap);
    [[nodiscard]] bool hasBufferPerChannel(AudioBufferList input) const noexcept;
    [[nodiscard]] std::optional<Source> findChannels(AudioBufferList input, std::int64_t frames) const noexcept;
    [[nodiscard]] std::optional<Source> findSeparateChannels(AudioBufferList input,
                                                             std::int64_t frames) const noexcept;
    void copyToWorking(const Source& source, std::int64_t frames) noexcept;
    [[nodiscard]] const AudioPCMBuffer* convertRate();
    void appendScratch(std::int64_t frames) noexcept;

    std::optional<SampleRateConverter> converter_; // absent at 48,000
    bool hasConverted_ = false;
    PCMBuffer workingBuffer_;
    PCMBuffer conversionBuffer_;
    PCMBuffer conversionScratchBuffer_; // receives each pass of the converter
};

} // namespace rewindle
