#include "fakes/AllocationCounter.h"

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

thread_local std::uint64_t allocations = 0;

void* tryToAllocate(std::size_t size, std::size_t alignment) noexcept {
    ++allocations;
    const std::size_t whole = (size + alignment - 1) / alignment * alignment; // as aligned_alloc wants it
    return std::aligned_alloc(alignment, whole > 0 ? whole : alignment);
}
void* allocate(std::size_t size, std::size_t alignment) {
    void* block = tryToAllocate(size, alignment);
    if (!block) throw std::bad_alloc();
    return block;
}

} // namespace

std::uint64_t rewindle::test::allocationsOfThisThread() {
    return allocations;
}

// The forms for arrays call these.
void* operator new(std::size_t size) {
    return allocate(size, alignof(std::max_align_t));
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return allocate(size, static_cast<std::size_t>(alignment));
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return tryToAllocate(size, alignof(std::max_align_t));
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    std::free(block);
}
