#pragma once

#include "platform/GpuDevice.h"
#include "platform/GpuLayer.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace rewindle::test {

class FakeGpuBuffer final : public GpuBuffer {
public:
    explicit FakeGpuBuffer(std::size_t length) : length_(length) {}
    [[nodiscard]] std::size_t length() const override { return length_; }
    void write(std::size_t, std::span<const std::byte>) override {}

private:
    std::size_t length_;
};

class FakeGpuTexture final : public GpuTexture {
public:
    explicit FakeGpuTexture(const GpuTextureDescriptor& of)
        : descriptor(of), pixels(4 * static_cast<std::size_t>(of.width) * static_cast<std::size_t>(of.height)) {}
    [[nodiscard]] int width() const override { return descriptor.width; }
    [[nodiscard]] int height() const override { return descriptor.height; }
    void replace(std::span<const std::byte> bytes) override { pixels.assign(bytes.begin(), bytes.end()); }
    void read(std::span<std::byte> bytes) const override { std::ranges::copy(pixels, bytes.begin()); }

    GpuTextureDescriptor descriptor;
    std::vector<std::byte> pixels;
};

struct FakeGpuPipeline final : GpuPipeline {
    explicit FakeGpuPipeline(GpuPipelineDescriptor of) : descriptor(std::move(of)) {}
    GpuPipelineDescriptor descriptor;
};

/// What one call has drawn.
struct FakeGpuDraw {
    std::string_view vertexFunction;
    std::size_t vertexCount = 0;
};

class FakeGpuEncoder final : public GpuRenderEncoder {
public:
    FakeGpuEncoder() { draws.reserve(16); }
    void setPipeline(const GpuPipeline& pipeline) override {
        function_ = dynamic_cast<const FakeGpuPipeline&>(pipeline).descriptor.vertexFunction;
    }
    void setVertexBuffer(int, const GpuBuffer&, std::size_t, std::size_t) override {}
    void setVertexBytes(int, std::span<const std::byte>) override {}
    void setFragmentBytes(int, std::span<const std::byte>) override {}
    void setFragmentTexture(int, const GpuTexture&, const GpuSampler&) override {}
    void draw(GpuPrimitive, std::size_t, std::size_t vertexCount) override {
        draws.push_back({function_, vertexCount});
    }
    void endEncoding() override {}
    std::vector<FakeGpuDraw> draws;

private:
    std::string_view function_;
};

class FakeGpuDevice;

class FakeGpuCommandBuffer final : public GpuCommandBuffer {
public:
    explicit FakeGpuCommandBuffer(FakeGpuDevice& device) : device_(device) {}
    [[nodiscard]] GpuRenderEncoder* makeRenderEncoder(const GpuRenderPass& pass) override;
    void copy(const GpuTexture& from, GpuTexture& to) override {
        dynamic_cast<FakeGpuTexture&>(to).pixels = dynamic_cast<const FakeGpuTexture&>(from).pixels;
    }
    void addCompletedHandler(std::function<void()> handler) override { handlers.push_back(std::move(handler)); }
    void present(GpuDrawable& drawable) override;
    void commit() override;

    std::vector<std::function<void()>> handlers;

private:
    FakeGpuDevice& device_;
};

/// A GPU that completes its frames when the test says so. The names of what it shall fail to make go to `failing`:
/// "queue", "library", "sampler", "pipeline", "buffer", "texture", "commands", "encoder".
class FakeGpuDevice final : public GpuDevice {
public:
    [[nodiscard]] std::unique_ptr<GpuCommandQueue> makeCommandQueue() override { return made<Queue>("queue", *this); }
    [[nodiscard]] Result<std::unique_ptr<GpuLibrary>> makeLibrary() override {
        if (failing.contains("library")) return Error{1, "0:3: syntax error"};
        return {std::unique_ptr<GpuLibrary>(std::make_unique<Library>(missingFunctions))};
    }
    [[nodiscard]] std::unique_ptr<GpuSampler> makeLinearSampler() override { return made<GpuSampler>("sampler"); }
    [[nodiscard]] std::unique_ptr<GpuPipeline> makePipeline(const GpuLibrary&,
                                                            const GpuPipelineDescriptor& of) override {
        return made<FakeGpuPipeline>("pipeline", of);
    }
    [[nodiscard]] std::unique_ptr<GpuBuffer> makeBuffer(std::size_t length) override {
        return made<FakeGpuBuffer>("buffer", length);
    }
    [[nodiscard]] std::unique_ptr<GpuTexture> makeTexture(const GpuTextureDescriptor& of) override {
        return made<FakeGpuTexture>("texture", of);
    }
    bool waitForCompletion() override { return completeOldest(); }

    // The test's side
    bool completeOldest() {
        if (completed == committed) return false;
        auto& handlers = inFlight[completed++ % inFlight.size()];
        for (const auto& handler : handlers)
            handler();
        handlers.clear();
        return true;
    }

    std::set<std::string, std::less<>> failing, missingFunctions;
    std::array<std::vector<std::function<void()>>, 8> inFlight; // the handlers of each, in turn
    std::size_t presented = 0, committed = 0, completed = 0;    // frames
    FakeGpuCommandBuffer commands{*this};
    FakeGpuEncoder encoder;

private:
    struct Queue final : GpuCommandQueue {
        explicit Queue(FakeGpuDevice& owner) : device(owner) {}
        [[nodiscard]] GpuCommandBuffer* makeCommandBuffer() override {
            return device.failing.contains("commands") ? nullptr : &device.commands;
        }
        FakeGpuDevice& device;
    };
    struct Library final : GpuLibrary {
        explicit Library(const std::set<std::string, std::less<>>& without) : missing(without) {}
        [[nodiscard]] bool hasFunction(std::string_view name) const override { return !missing.contains(name); }
        std::set<std::string, std::less<>> missing;
    };
    template <class Thing, class... Arguments>
    std::unique_ptr<Thing> made(std::string_view name, Arguments&&... arguments) const {
        if (failing.contains(name)) return nullptr;
        return std::make_unique<Thing>(std::forward<Arguments>(arguments)...);
    }
};

/// A view's surface under the test's control.
class FakeGpuLayer final : public GpuLayer, public GpuDrawable {
public:
    explicit FakeGpuLayer(Size pixels) { resize(pixels); }
    void resize(Size pixels) {
        size = pixels;
        picture =
            FakeGpuTexture({.width = static_cast<int>(pixels.width), .height = static_cast<int>(pixels.height)});
    }
    void configure(GpuDevice&, const GpuLayerConfiguration&) override {}
    [[nodiscard]] Size drawableSize() const override { return size; }
    [[nodiscard]] GpuDrawable* nextDrawable() override { return available ? this : nullptr; }
    [[nodiscard]] GpuTexture& texture() override { return picture; }

    bool available = true;
    Size size;
    FakeGpuTexture picture{GpuTextureDescriptor{}};
};

inline GpuRenderEncoder* FakeGpuCommandBuffer::makeRenderEncoder(const GpuRenderPass&) {
    if (device_.failing.contains("encoder")) return nullptr;
    device_.encoder.draws.clear();
    return &device_.encoder;
}

inline void FakeGpuCommandBuffer::present(GpuDrawable&) {
    ++device_.presented;
}

inline void FakeGpuCommandBuffer::commit() {
    std::swap(device_.inFlight[device_.committed++ % device_.inFlight.size()], handlers);
}

} // namespace rewindle::test
