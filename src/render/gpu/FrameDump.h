#pragma once

#include "base/Clock.h"
#include "platform/GpuDevice.h"
#include "platform/ImageWriter.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>

namespace rewindle {

/// Writes what is drawn to a PNG file, at most once a second; a debugging aid. One for all views.
///
/// Threads:   `encode` interface thread; completion handlers come on any.
/// Errors:    none reach the caller; there is no picture then.
/// Lifecycle: outlives the command buffers that it was given; its texture goes with `releaseTexture`.
class FrameDump {
public:
    /// `environmentPath` is the value of REWINDLE_DUMP_FRAME, or null; unset or empty means never.
    FrameDump(const char* environmentPath, const Clock& clock, ImageWriter& writer);

    [[nodiscard]] bool isEnabled() const { return path_.has_value(); }
    /// Has the frame's picture copied and written when the commands have completed. True when it will be.
    bool encode(GpuDrawable& drawable, GpuCommandBuffer& commands, GpuDevice& device);
    /// To be called before the device goes.
    void releaseTexture();

private:
    [[nodiscard]] bool isDue();
    [[nodiscard]] GpuTexture* copyTexture(int width, int height, GpuDevice& device);
    void write();

    const std::optional<std::filesystem::path> path_;
    const Clock& clock_;
    ImageWriter& writer_;
    std::mutex mutex_; // over what follows
    std::optional<std::chrono::nanoseconds> lastDump_;
    std::unique_ptr<GpuTexture> copy_;
};

} // namespace rewindle
