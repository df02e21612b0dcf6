#include "render/gpu/TripleBuffer.h"

#include <algorithm>

namespace rewindle {

TripleBuffer::~TripleBuffer() {
    while (semaphore_ < count && device_.waitForCompletion()) {
    }
}

GpuBuffer* TripleBuffer::next(std::size_t minimumLength) {
    while (semaphore_ == 0) {
        if (!device_.waitForCompletion()) return nullptr;
    }
    --semaphore_;
    auto& buffer = buffers_[index_];
    auto& capacity = capacities_[index_];
    if (capacity < minimumLength || !buffer) {
        buffer = device_.makeBuffer(std::max(2 * capacity, minimumLength));
        capacity = buffer ? buffer->length() : 0;
    }
    if (!buffer) ++semaphore_;
    return buffer.get();
}

void TripleBuffer::submit(GpuCommandBuffer& commands) {
    index_ = (index_ + 1) % count;
    commands.addCompletedHandler([this] { ++semaphore_; });
}

} // namespace rewindle
