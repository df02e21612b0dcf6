#pragma once

#include "base/ImagePixels.h"
#include "platform/GpuDevice.h"
#include "render/gpu/ColorGradient.h"

#include <memory>

namespace rewindle {

/// The gradient as a picture of `width` x 1 pixels.
[[nodiscard]] ImagePixels rampPixels(const ColorGradient& gradient, int width);

/// Null when the device cannot make it or `width` is not positive.
[[nodiscard]] std::unique_ptr<GpuTexture> rampTexture(const ColorGradient& gradient, int width, GpuDevice& device);
/// Row 0 of the texture is the picture's top. Null when the device cannot make it or the picture is empty.
[[nodiscard]] std::unique_ptr<GpuTexture> imageTexture(const ImagePixels& image, GpuDevice& device);

} // namespace rewindle
