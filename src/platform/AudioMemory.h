#pragma once

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
    using Block = std::unique_ptr<void, Release>;
    virtual ~AudioMemory() = default;

    /// A zeroed block, aligned for any vector type, that takes no memory until it is written. Requires: bytes > 0.
    [[nodiscard]] virtual Block allocate(std::size_t bytes) = 0;
};

} // namespace rewindle
