#include "render/gpu/FrameDump.h"

#include <utility>

namespace rewindle {
namespace {

std::optional<std::filesystem::path> pathFrom(const char* environmentPath) {
    if (!environmentPath || *environmentPath == '\0') return std::nullopt;
    return environmentPath;
}

} // namespace

FrameDump::FrameDump(const char* environmentPath, const Clock& clock, ImageWriter& writer)
    : path_(pathFrom(environmentPath)), clock_(clock), writer_(writer) {}

bool FrameDump::encode(GpuDrawable& drawable, GpuCommandBuffer& commands, GpuDevice& device) {
    if (!path_) return false;
    const std::lock_guard hold(mutex_);
    if (!isDue()) return false;
    const GpuTexture& drawn = drawable.texture();
    if (drawn.width() < 1 || drawn.height() < 1) return false;
    GpuTexture* const copy = copyTexture(drawn.width(), drawn.height(), device);
    if (!copy) return false;
    commands.copy(drawn, *copy);
    commands.addCompletedHandler([this] { write(); });
    return true;
}

void FrameDump::releaseTexture() {
    const std::lock_guard hold(mutex_);
    copy_ = nullptr;
}

bool FrameDump::isDue() {
    const auto now = clock_.uptime();
    if (lastDump_ && now - *lastDump_ < std::chrono::seconds(1)) return false;
    lastDump_ = now;
    return true;
}

GpuTexture* FrameDump::copyTexture(int width, int height, GpuDevice& device) {
    if (!copy_ || copy_->width() != width || copy_->height() != height)
        copy_ = device.makeTexture({.width = width, .height = height, .use = GpuTextureUse::copy});
    return copy_.get();
}

void FrameDump::write() {
    const std::lock_guard hold(mutex_);
    if (!copy_) return;
    ImagePixels image{.width = copy_->width(), .height = copy_->height(), .bytes = {}};
    image.bytes.resize(4 * static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height));
    copy_->read(image.bytes);
    writer_.writePng(*path_, image);
}

} // namespace rewindle
