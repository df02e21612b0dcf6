#pragma once

#include "platform/GpuDevice.h"

#include <array>
#include <cstddef>
#include <memory>

namespace rewindle {

/// Buffers for a stream of frames, so that one can be written while two others are still being drawn from.
///
/// Threads:   interface thread. `next` waits there when the GPU is three frames behind.
/// Errors:    without memory there is no buffer for this frame.
/// Lifecycle: destroyed before its device, when it waits for its frames in flight.
class TripleBuffer {
public:
    static constexpr std::size_t count = 3;

    explicit TripleBuffer(GpuDevice& device) : device_(device) {}
    ~TripleBuffer();
    TripleBuffer(const TripleBuffer&) = delete;

    /// A buffer of at least `minimumLength` bytes, that no frame in flight uses. A slot's buffer at least doubles when
    /// it grows, and never shrinks.
    /// Requires: the buffer before was given to `submit`.
    [[nodiscard]] GpuBuffer* next(std::size_t minimumLength);
    /// The buffer that `next` gave is in use until the commands have completed.
    void submit(GpuCommandBuffer& commands);

private:
    GpuDevice& device_;
    std::size_t semaphore_ = count; // slots that no frame in flight uses; handlers come on this thread, too
    std::array<std::unique_ptr<GpuBuffer>, count> buffers_;
    std::array<std::size_t, count> capacities_{}; // bytes
    std::size_t index_ = 0;
};

} // namespace rewindle
