#pragma once

#include "platform/AudioMemory.h"

#include <cstdlib>
#include <new>

namespace rewindle::bench {

/// Zeroed pages straight from the system, for both sides of every comparison.
class PageMemory final : public AudioMemory {
public:
    Block allocate(std::size_t bytes) override {
        void* block = std::calloc(1, bytes);
        if (!block) throw std::bad_alloc();
        return Block(block, Release{[](void* p, std::size_t) { std::free(p); }, bytes});
    }
};

} // namespace rewindle::bench
