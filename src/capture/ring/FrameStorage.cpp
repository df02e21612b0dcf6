#include "capture/ring/FrameStorage.h"

#include <algorithm>

namespace rewindle {

/// Calls `visit(slot, offset, frames)` for each of the one or two stretches of the arrays in which `range` lies; `offset`
/// counts from its first frame.
template <class Visit>
void FrameStorage::forEachRun(const FrameRange& range, Visit visit) const {
    const std::int64_t count = range.count();
    if (count == 0) return;
    const std::int64_t slot = (range.first - firstFrame_) % capacityFrames_;
    const std::int64_t untilEnd = std::min(count, capacityFrames_ - slot);
    visit(slot, std::int64_t{0}, untilEnd);
    if (untilEnd < count) visit(std::int64_t{0}, untilEnd, count - untilEnd);
}

void FrameStorage::takeOver(const FrameStorage& other, const FrameRange& range) noexcept {
    other.copyOut(range, left_.data(), right_.data());
    firstFrame_ = range.first;
    writeIndex_ = range.count() % capacityFrames_;
}

void FrameStorage::fadeOut(const FrameRange& range) noexcept {
    const std::int64_t last = range.count() - 1;
    forEachRun({range.first, range.end - 1}, [&](std::int64_t slot, std::int64_t offset, std::int64_t frames) {
        for (std::int64_t i = 0; i < frames; ++i) {
            const float gain = static_cast<float>(last - offset - i) / static_cast<float>(last);
            left_.data()[slot + i] *= gain;
            right_.data()[slot + i] *= gain;
        }
    });
    forEachRun({range.end - 1, range.end}, [&](std::int64_t newest, std::int64_t, std::int64_t) {
        left_.data()[newest] = right_.data()[newest] = 0; // whatever it was, also what is not a number
    });
}

void FrameStorage::copyOut(const FrameRange& range, float* left, float* right) const noexcept {
    forEachRun(range, [&](std::int64_t slot, std::int64_t offset, std::int64_t frames) {
        std::copy_n(left_.data() + slot, frames, left + offset);
        std::copy_n(right_.data() + slot, frames, right + offset);
    });
}

BucketValues FrameStorage::summaryOf(const FrameRange& range) const noexcept {
    BucketValues values{};
    forEachRun(range, [&](std::int64_t slot, std::int64_t offset, std::int64_t frames) {
        const BucketValues part = summarise(left_.data() + slot, right_.data() + slot, frames);
        values = offset == 0 ? part : merged(values, part);
    });
    return values;
}

} // namespace rewindle
