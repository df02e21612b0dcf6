#pragma once

#include "base/Clock.h"
#include "base/Result.h"
#include "base/SerialQueue.h"
#include "capture/ring/AudioRingBuffer.h"
#include "capture/ring/RangeCopy.h"
#include "capture/signal/CaptureSeamSoftener.h"
#include "meter/CaptureLevelMeter.h"
#include "platform/AudioMemory.h"
#include "settings/RecordingDuration.h"

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace rewindle {

class CoreAudioTapCapture;

/// The host refused memory.
struct NoMemory {};

/// What captured audio passes through on its way into memory: softener, meter, ring buffer.
///
/// Threads:   capture queue, except for `seamSoftener` and `levelMeter`, which say for themselves. Pieces
///            of copies and replacements of the ring buffer are made there too, so each falls between two appends.
/// Real time: `process` allocates nothing and blocks on one short lock at a time.
class CaptureChain {
public:
    /// Keeps a shorter duration where there is no memory for the one that is asked for. Throws std::bad_alloc.
    CaptureChain(RecordingDuration duration, float gainDB, AudioMemory& memory, const Clock& clock,
                 const SerialQueue& queue);
    CaptureChain(const CaptureChain&) = delete;
    CaptureChain& operator=(const CaptureChain&) = delete;

    CaptureSeamSoftener seamSoftener;
    CaptureLevelMeter levelMeter;

    void process(const AudioPCMBuffer& buffer);
    /// Fades out what was stored last and arms the fade-in of what comes next. Between the same two buffers,
    /// the stored audio is faded once, however often a restart is tried.
    void markSeam();

    /// Names the source that `fetchPending` asks; null for none.
    void follow(const std::shared_ptr<CoreAudioTapCapture>& tap) { tap_ = tap; }
    /// Appends what the device still holds.
    void fetchPending();
    /// The same, before a stop: with what its rate conversion has held back.
    void fetchEnd();

    void setFrozen(bool frozen);
    /// Begins to copy the frames [range.first, range.second), as far as they are held. The caller makes the copy piece
    /// by piece; what is not copied yet is not overwritten. Null where there is no memory for it.
    [[nodiscard]] std::shared_ptr<RangeCopy> beginCopy(std::pair<std::int64_t, std::int64_t> range);
    /// Goes on in a ring buffer of another length, with the newest audio that fits; returns it. Null when the
    /// length is the same. Without memory for it nothing changes.
    [[nodiscard]] Result<std::shared_ptr<AudioRingBuffer>, NoMemory> resize(std::int64_t durationSeconds);
    [[nodiscard]] const std::shared_ptr<AudioRingBuffer>& ringBuffer() const { return ringBuffer_; }

private:
    void copyAheadOf(std::int64_t frames);

    AudioMemory& memory_;
    const SerialQueue& queue_; // the capture queue
    std::shared_ptr<AudioRingBuffer> ringBuffer_;
    std::weak_ptr<CoreAudioTapCapture> tap_;
    std::vector<std::weak_ptr<RangeCopy>> copies_; // under way
    std::int64_t seamFrame_ = 0; // frames written at the last seam; an empty buffer has nothing to fade
};

} // namespace rewindle
