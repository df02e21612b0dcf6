#pragma once

#include "platform/AudioMemory.h"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace rewindle::test {

/// Audio memory from the C heap, whose large blocks come untouched from the system, too.
class HeapAudioMemory final : public AudioMemory {
public:
    std::size_t largest = SIZE_MAX; // in bytes; more is refused

    [[nodiscard]] Block allocate(std::size_t bytes) override {
        void* block = bytes <= largest ? std::calloc(1, bytes) : nullptr;
        if (!block) throw std::bad_alloc();
        return Block(block, Release{[](void* p, std::size_t) { std::free(p); }, bytes});
    }
};

} // namespace rewindle::test
