#include "capture/tap/TapFifo.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

namespace rewindle {

TapFifo::TapFifo(std::size_t minFrames, std::size_t channels) : capacity_(std::bit_ceil(minFrames)) {
    assert(minFrames > 0 && channels > 0);
    // Written before it is read, so not filled here: pages that no cycle reaches take no memory.
    for (std::size_t i = 0; i < channels; ++i)
        rings_.emplace_back(new float[capacity_]);
}

bool TapFifo::write(const Cycle& cycle, std::span<const float* const> channels) noexcept {
    const auto written = framesWritten_.load(std::memory_order_relaxed);
    const auto cyclesWritten = cyclesWritten_.load(std::memory_order_relaxed);
    // Acquire: the reader is done with the slots that it has given up.
    const auto used = written - framesRead_.load(std::memory_order_acquire);
    const auto usedCycles = cyclesWritten - cyclesRead_.load(std::memory_order_acquire);
    if (cycle.frames > capacity_ - used || usedCycles == kCycles) {
        if (lostSinceLastCycle_ == 0) overruns_.fetch_add(1, std::memory_order_relaxed);
        lostSinceLastCycle_ += cycle.frames;
        lostFrames_.fetch_add(cycle.frames, std::memory_order_relaxed);
        return false;
    }

    const auto slot = static_cast<std::size_t>(written & (capacity_ - 1));
    const auto first = std::min<std::size_t>(cycle.frames, capacity_ - slot);
    const auto copy = [](float* to, const float* from, std::size_t frames) {
        if (from) {
            std::memcpy(to, from, frames * sizeof(float));
        } else {
            std::memset(to, 0, frames * sizeof(float));
        }
    };
    for (std::size_t i = 0; i < rings_.size(); ++i) {
        const float* from = i < channels.size() ? channels[i] : nullptr;
        copy(rings_[i].get() + slot, from, first);
        copy(rings_[i].get(), from ? from + first : nullptr, cycle.frames - first);
    }
    Cycle& record = cycles_[cyclesWritten % kCycles];
    record = cycle;
    record.lostBefore = lostSinceLastCycle_;
    lostSinceLastCycle_ = 0;
    framesWritten_.store(written + cycle.frames, std::memory_order_release);
    cyclesWritten_.store(cyclesWritten + 1, std::memory_order_release); // publishes samples and record
    return true;
}

const TapFifo::Cycle* TapFifo::front() const noexcept {
    const auto read = cyclesRead_.load(std::memory_order_relaxed);
    if (read == cyclesWritten_.load(std::memory_order_acquire)) return nullptr;
    return &cycles_[read % kCycles];
}

std::size_t TapFifo::contiguousFrames() const noexcept {
    const auto read = cyclesRead_.load(std::memory_order_relaxed);
    const auto slot = static_cast<std::size_t>(framesRead_.load(std::memory_order_relaxed) & (capacity_ - 1));
    return std::min<std::size_t>(cycles_[read % kCycles].frames - consumedOfFront_, capacity_ - slot);
}

const float* TapFifo::data(std::size_t channel) const noexcept {
    return rings_[channel].get() + (framesRead_.load(std::memory_order_relaxed) & (capacity_ - 1));
}

void TapFifo::consume(std::size_t frames) noexcept {
    assert(front() && frames <= contiguousFrames());
    const auto cyclesRead = cyclesRead_.load(std::memory_order_relaxed);
    consumedOfFront_ += frames;
    if (consumedOfFront_ == cycles_[cyclesRead % kCycles].frames) {
        consumedOfFront_ = 0;
        cyclesRead_.store(cyclesRead + 1, std::memory_order_release);
    }
    framesRead_.store(framesRead_.load(std::memory_order_relaxed) + frames, std::memory_order_release);
}

std::size_t TapFifo::waitingFrames() const noexcept {
    const auto read = framesRead_.load(std::memory_order_acquire); // first: a total read later is never smaller
    return static_cast<std::size_t>(framesWritten_.load(std::memory_order_acquire) - read);
}

} // namespace rewindle
