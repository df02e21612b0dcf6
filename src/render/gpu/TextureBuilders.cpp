#include "render/gpu/TextureBuilders.h"

#include "render/gpu/PremultipliedColor.h"

#include <algorithm>
#include <cmath>

namespace rewindle {

ImagePixels rampPixels(const ColorGradient& gradient, int width) {
    ImagePixels pixels{.width = std::max(width, 0), .height = 1, .bytes = {}};
    pixels.bytes.reserve(4 * static_cast<std::size_t>(pixels.width));
    for (int x = 0; x < width; ++x) {
        for (const float component : premultiplied(gradient.colorAt((x + 0.5) / width)))
            pixels.bytes.push_back(static_cast<std::byte>(std::lround(std::clamp(component, 0.0F, 1.0F) * 255)));
    }
    return pixels;
}

std::unique_ptr<GpuTexture> rampTexture(const ColorGradient& gradient, int width, GpuDevice& device) {
    return imageTexture(rampPixels(gradient, width), device);
}

std::unique_ptr<GpuTexture> imageTexture(const ImagePixels& image, GpuDevice& device) {
    if (image.width <= 0 || image.height <= 0) return nullptr;
    auto texture =
        device.makeTexture({.width = image.width, .height = image.height, .use = GpuTextureUse::shaderRead});
    if (texture) texture->replace(image.bytes);
    return texture;
}

} // namespace rewindle
