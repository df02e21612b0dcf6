#pragma once

#include "fakes/CapturingLogSink.h"
#include "fakes/ManualClock.h"
#include "host/drawing/SurfacelessContext.h"
#include "host/opengl/OpenGLDevice.h"
#include "host/opengl/OpenGLLayer.h"
#include "render/gpu/WaveformMetalRenderer.h"

#include <algorithm>
#include <array>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <span>
#include <vector>

namespace rewindle::test {

using Columns = std::vector<float>;
using Pixel = std::array<int, 4>; // red, green, blue, alpha; premultiplied

/// What was drawn, the top row first.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<std::byte> bytes;

    [[nodiscard]] Pixel at(int x, int y) const {
        const auto first = 4 * static_cast<std::size_t>(y * width + x);
        Pixel pixel{};
        std::ranges::transform(std::span(bytes).subspan(first, 4), pixel.begin(),
                               [](std::byte value) { return std::to_integer<int>(value); });
        return pixel;
    }
    /// How many pixels of a column are covered, counted by their alpha.
    [[nodiscard]] double coverage(int x) const {
        double sum = 0;
        for (int y = 0; y < height; ++y)
            sum += at(x, y)[3] / 255.0;
        return sum;
    }
};

struct KeptImage final : ImageWriter {
    bool writePng(const std::filesystem::path&, const ImagePixels& image) override {
        kept = {image.width, image.height, image.bytes};
        return true;
    }
    Picture kept;
};

/// The waveform's renderer on the GPU device, drawing into memory. Without a driver for the GPU it draws by software.
struct OffscreenRenderer {
    explicit OffscreenRenderer(GlApi api) : context(api) {}

    /// Requires: ASSERT_NO_FATAL_FAILURE around it.
    void makeRenderer(const GlLoader& loader = eglGetProcAddress,
                      int maxTextureSize = std::numeric_limits<int>::max()) {
        ASSERT_TRUE(context.ok());
        target = nullptr;
        renderer = nullptr;
        core = nullptr;
        device = OpenGLDevice::make(loader, maxTextureSize);
        ASSERT_TRUE(device);
        core = MetalRenderCore::make(device.get(), Log(log, "Render"));
        ASSERT_TRUE(core) << testing::PrintToString(log.lines());
        renderer = std::make_unique<WaveformMetalRenderer>(*core, noDump);
    }
    [[nodiscard]] std::unique_ptr<GpuTexture> makeTarget(int width, int height) const {
        return device->makeTexture({.width = width, .height = height, .use = GpuTextureUse::copy});
    }
    void setTarget(int width, int height) {
        target = makeTarget(width, height);
        layer.setTarget(framebufferOf(*target), width, height);
    }
    [[nodiscard]] static Picture pictureOf(const GpuTexture& texture) {
        Picture picture{texture.width(), texture.height(), {}};
        const auto row = 4 * static_cast<std::size_t>(picture.width);
        std::vector<std::byte> fromBottom(row * static_cast<std::size_t>(picture.height));
        texture.read(fromBottom);
        for (auto end = fromBottom.size(); end > 0; end -= row) {
            const auto pixels = std::span(fromBottom).subspan(end - row, row);
            picture.bytes.insert(picture.bytes.end(), pixels.begin(), pixels.end());
        }
        return picture;
    }
    [[nodiscard]] Picture draw(const WaveformFrame& frame, const Columns& minima, const Columns& maxima) {
        renderer->render(frame, minima, maxima, layer);
        return pictureOf(*target);
    }

    CapturingLogSink log;
    ManualClock clock;
    KeptImage image;
    FrameDump noDump{nullptr, clock, image};
    SurfacelessContext context;
    std::unique_ptr<OpenGLDevice> device;
    std::unique_ptr<MetalRenderCore> core;
    std::unique_ptr<WaveformMetalRenderer> renderer;
    std::unique_ptr<GpuTexture> target;
    OpenGLLayer layer;
};

} // namespace rewindle::test
