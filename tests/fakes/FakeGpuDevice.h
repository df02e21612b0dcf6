#pragma once

#include "platform/GpuDevice.h"
#include "platform/GpuLayer.h"

#include <algorithm>
#include <array>
#include <concepts>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace rewindle::test {

/// What a fake GPU was asked to do, a line each. Without `recording` nothing is written down, nor allocated for it.
struct GpuRecord {
    bool recording = true;
    std::vector<std::string> lines;

    template <class... Parts>
    void note(const Parts&... parts) {
        if (recording) lines.push_back((text(parts) + ...));
    }
    [[nodiscard]] std::vector<std::string> take() { return std::exchange(lines, {}); }
    [[nodiscard]] std::vector<std::string> takeStartingWith(const std::string& start) {
        auto all = take();
        std::erase_if(all, [&](const std::string& line) { return !line.starts_with(start); });
        return all;
    }

private:
    static std::string text(const std::string& part) { return part; }
    static std::string text(std::integral auto part) { return std::to_string(part); }
};

class FakeGpuBuffer final : public GpuBuffer {
public:
    explicit FakeGpuBuffer(std::size_t length) : bytes(length) {}
    [[nodiscard]] std::size_t length() const override { return bytes.size(); }
    void write(std::size_t offset, std::span<const std::byte> data) override {
        std::ranges::copy(data, bytes.begin() + static_cast<std::ptrdiff_t>(offset));
    }
    std::vector<std::byte> bytes;
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

struct FakeGpuSampler final : GpuSampler {};

struct FakeGpuLibrary final : GpuLibrary {
    [[nodiscard]] bool hasFunction(std::string_view name) const override { return !missing.contains(name); }
    std::set<std::string, std::less<>> missing;
};

struct FakeGpuPipeline final : GpuPipeline {
    explicit FakeGpuPipeline(const GpuPipelineDescriptor& of)
        : name(of.vertexFunction + " " + of.fragmentFunction + " x" + std::to_string(of.sampleCount) +
               (of.blending ? " over" : " opaque")) {}
    std::string name;
};

/// Notes each call.
class FakeGpuEncoder final : public GpuRenderEncoder {
public:
    explicit FakeGpuEncoder(GpuRecord& record) : record_(record) {}
    void setPipeline(const GpuPipeline& pipeline) override {
        record_.note("pipeline ", dynamic_cast<const FakeGpuPipeline&>(pipeline).name);
    }
    void setVertexBuffer(int index, const GpuBuffer&, std::size_t offset, std::size_t length) override {
        record_.note("vertex buffer ", index, ": ", length, " bytes at ", offset);
    }
    void setVertexBytes(int index, std::span<const std::byte> bytes) override {
        record_.note("vertex bytes ", index, ": ", bytes.size());
    }
    void setFragmentBytes(int index, std::span<const std::byte> bytes) override {
        record_.note("fragment bytes ", index, ": ", bytes.size());
    }
    void setFragmentTexture(int index, const GpuTexture& texture, const GpuSampler&) override {
        record_.note("fragment texture ", index, ": ", texture.width(), "x", texture.height());
    }
    void draw(GpuPrimitive primitive, std::size_t firstVertex, std::size_t vertexCount) override {
        record_.note(primitive == GpuPrimitive::triangles ? "draw triangles " : "draw strip ", vertexCount, " from ",
                     firstVertex);
    }
    void endEncoding() override { record_.note("end"); }

private:
    GpuRecord& record_;
};

class FakeGpuDevice;

class FakeGpuCommandBuffer final : public GpuCommandBuffer {
public:
    explicit FakeGpuCommandBuffer(FakeGpuDevice& device) : device_(device) {}
    [[nodiscard]] GpuRenderEncoder* makeRenderEncoder(const GpuRenderPass& pass) override;
    void copy(const GpuTexture& from, GpuTexture& to) override;
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
    [[nodiscard]] std::unique_ptr<GpuCommandQueue> makeCommandQueue() override {
        return fails("queue") ? nullptr : std::make_unique<Queue>(*this);
    }
    [[nodiscard]] Result<std::unique_ptr<GpuLibrary>> makeLibrary() override {
        if (fails("library")) return Error{1, "0:3: syntax error"};
        auto library = std::make_unique<FakeGpuLibrary>();
        library->missing = missingFunctions;
        return {std::unique_ptr<GpuLibrary>(std::move(library))};
    }
    [[nodiscard]] std::unique_ptr<GpuSampler> makeLinearSampler() override {
        return fails("sampler") ? nullptr : std::make_unique<FakeGpuSampler>();
    }
    [[nodiscard]] std::unique_ptr<GpuPipeline> makePipeline(const GpuLibrary&,
                                                            const GpuPipelineDescriptor& descriptor) override {
        if (fails("pipeline")) return nullptr;
        auto made = std::make_unique<FakeGpuPipeline>(descriptor);
        record.note("make pipeline ", made->name);
        return made;
    }
    [[nodiscard]] std::unique_ptr<GpuBuffer> makeBuffer(std::size_t length) override {
        record.note("make buffer ", length);
        return fails("buffer") ? nullptr : std::make_unique<FakeGpuBuffer>(length);
    }
    [[nodiscard]] std::unique_ptr<GpuTexture> makeTexture(const GpuTextureDescriptor& of) override {
        record.note("make texture ", of.width, "x", of.height, " x", of.sampleCount);
        return fails("texture") ? nullptr : std::make_unique<FakeGpuTexture>(of);
    }
    bool waitForCompletion() override {
        record.note("wait");
        return completeOldest();
    }

    // The test's side
    [[nodiscard]] bool fails(const std::string& what) const { return failing.contains(what); }
    bool completeOldest() {
        if (completed == committed) return false;
        auto& handlers = inFlight[completed++ % inFlight.size()];
        for (const auto& handler : handlers)
            handler();
        handlers.clear();
        return true;
    }

    GpuRecord record;
    std::set<std::string> failing;
    std::set<std::string, std::less<>> missingFunctions;
    std::array<std::vector<std::function<void()>>, 8> inFlight; // the handlers of each, in turn
    std::size_t committed = 0, completed = 0;
    FakeGpuCommandBuffer commands{*this};
    FakeGpuEncoder encoder{record};

private:
    struct Queue final : GpuCommandQueue {
        explicit Queue(FakeGpuDevice& device) : device_(device) {}
        [[nodiscard]] GpuCommandBuffer* makeCommandBuffer() override {
            return device_.fails("commands") ? nullptr : &device_.commands;
        }
        FakeGpuDevice& device_;
    };
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
    void configure(GpuDevice&, const GpuLayerConfiguration& to) override { configuration = to; }
    [[nodiscard]] Size drawableSize() const override { return size; }
    [[nodiscard]] GpuDrawable* nextDrawable() override { return available ? this : nullptr; }
    [[nodiscard]] GpuTexture& texture() override { return picture; }

    bool available = true;
    Size size;
    GpuLayerConfiguration configuration;
    FakeGpuTexture picture{GpuTextureDescriptor{}};
};

inline GpuRenderEncoder* FakeGpuCommandBuffer::makeRenderEncoder(const GpuRenderPass& pass) {
    if (device_.fails("encoder")) return nullptr;
    const auto& target = dynamic_cast<const FakeGpuTexture&>(*pass.target).descriptor;
    device_.record.note("pass ", target.width, "x", target.height, " x", target.sampleCount);
    return &device_.encoder;
}

inline void FakeGpuCommandBuffer::copy(const GpuTexture& from, GpuTexture& to) {
    device_.record.note("copy");
    dynamic_cast<FakeGpuTexture&>(to).pixels = dynamic_cast<const FakeGpuTexture&>(from).pixels;
}

inline void FakeGpuCommandBuffer::present(GpuDrawable&) {
    device_.record.note("present");
}

inline void FakeGpuCommandBuffer::commit() {
    device_.record.note("commit");
    std::swap(device_.inFlight[device_.committed++ % device_.inFlight.size()], handlers);
}

} // namespace rewindle::test
