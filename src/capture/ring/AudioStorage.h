#pragma once

#include "platform/AudioMemory.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>

namespace rewindle {

/// An array of zeroed samples that takes no memory until it is written.
///
/// Errors: throws std::bad_alloc, also for a size that no address space holds.
class AudioStorage {
public:
    AudioStorage(std::int64_t size, AudioMemory& memory) : block_(memory.allocate(bytesFor(size))) {}

    [[nodiscard]] float* data() noexcept { return static_cast<float*>(block_.get()); }
    [[nodiscard]] const float* data() const noexcept { return static_cast<const float*>(block_.get()); }

private:
    static std::size_t bytesFor(std::int64_t size) {
        const auto samples = static_cast<std::size_t>(size);
        if (samples > std::numeric_limits<std::size_t>::max() / sizeof(float)) throw std::bad_alloc();
        return samples * sizeof(float);
    }

    AudioMemory::Block block_;
};

} // namespace rewindle
