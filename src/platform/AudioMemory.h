#pragma once

#include "base/SampleArray.h"

#include <cstddef>
#include <memory>

namespace rewindle {

/// Gives the storage of the retained audio.
///
/// Threads: any.
/// Errors:  throws std::bad_alloc.
class AudioMemory {
public:
    /// Gives a block back to where it came from. The memory it came from may be gone by then.
    struct Release {
        void (*release)(void* block, std::size_t bytes) = nullptr;
        std::size_t bytes = 0;
        void operator()(void* block) const { release(block, bytes); }
    };
    /// An array in such a block. Throws std::bad_alloc.
    [[nodiscard]] SampleArray allocateSamples(std::size_t size) {
        if (size == 0) return {};
        auto block = allocate(size * sizeof(float));
        const auto release = block.get_deleter();
        return {static_cast<float*>(block.release()), size, {release.release, release.bytes}};
    }
    using Block = std::unique_ptr<void, Release>;
    virtual ~AudioMemory() = default;

    /// A zeroed block, aligned for any vector type, that takes no memory until it is written. Requires: bytes > 0.
    [[nodiscard]] virtual Block allocate(std::size_t bytes) = 0;
};

} // namespace rewindle
