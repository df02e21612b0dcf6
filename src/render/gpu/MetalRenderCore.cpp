#include "render/gpu/MetalRenderCore.h"

#include "render/gpu/ShaderFunctions.h"

#include <utility>

namespace rewindle {
namespace {

void writeKey(std::string& key, std::string_view vertexFunction, std::string_view fragmentFunction, int sampleCount,
              bool blending) {
    key.assign(vertexFunction).append("|").append(fragmentFunction).append("|");
    key.append(std::to_string(sampleCount)).append(blending ? "|true" : "|false");
}

} // namespace

std::unique_ptr<MetalRenderCore> MetalRenderCore::make(GpuDevice* device, const Log& log) {
    if (!device) return nullptr;
    Parts parts;
    parts.commandQueue = device->makeCommandQueue();
    if (!parts.commandQueue) return nullptr;
    auto library = device->makeLibrary();
    if (!library) {
        log.error("Rewindle: Metal shader compilation failed, falling back to CoreGraphics: " +
                  library.error().message);
        return nullptr;
    }
    parts.library = std::move(library).value();
    parts.linearSampler = device->makeLinearSampler();
    if (!parts.linearSampler) return nullptr;
    return std::unique_ptr<MetalRenderCore>(new MetalRenderCore(*device, std::move(parts)));
}

MetalRenderCore::MetalRenderCore(GpuDevice& device, Parts parts)
    : device_(device), commandQueue_(std::move(parts.commandQueue)), library_(std::move(parts.library)),
      linearSampler_(std::move(parts.linearSampler)) {}

void MetalRenderCore::configure(GpuLayer& layer, bool opaque, bool dumpsFrames) const {
    layer.configure(device_, {.framebufferOnly = !dumpsFrames, .opaque = opaque});
}

const GpuPipeline* MetalRenderCore::pipeline(std::string_view vertexFunction, std::string_view fragmentFunction,
                                             int sampleCount, bool blending) {
    writeKey(key_, vertexFunction, fragmentFunction, sampleCount, blending);
    if (const auto cached = pipelineCache_.find(key_); cached != pipelineCache_.end()) return cached->second.get();
    if (!library_->hasFunction(vertexFunction) || !library_->hasFunction(fragmentFunction)) return nullptr;
    auto made = device_.makePipeline(
        *library_, {std::string(vertexFunction), std::string(fragmentFunction), sampleCount, blending});
    if (!made) return nullptr;
    return pipelineCache_.emplace(key_, std::move(made)).first->second.get();
}

void MetalRenderCore::drawColored(std::span<const ColoredVertex> vertices, GpuRenderEncoder& encoder) {
    if (vertices.empty()) return;
    const auto* const state = pipeline(ShaderFunctions::coloredVertex, ShaderFunctions::coloredFragment, 1, true);
    if (!state) return;
    encoder.setPipeline(*state);
    encoder.setVertexBytes(0, std::as_bytes(vertices));
    encoder.draw(GpuPrimitive::triangles, 0, vertices.size());
}

void MetalRenderCore::drawTextured(std::span<const TexVertex> vertices, const GpuTexture& texture,
                                   GpuRenderEncoder& encoder, std::string_view vertexFunction,
                                   std::string_view fragmentFunction) {
    drawTexturedBytes(std::as_bytes(vertices), vertices.size(), texture, encoder,
                      pipeline(vertexFunction, fragmentFunction, 1, true));
}

void MetalRenderCore::drawTextured(std::span<const RampVertex> vertices, const GpuTexture& texture,
                                   GpuRenderEncoder& encoder, std::string_view vertexFunction,
                                   std::string_view fragmentFunction) {
    drawTexturedBytes(std::as_bytes(vertices), vertices.size(), texture, encoder,
                      pipeline(vertexFunction, fragmentFunction, 1, true));
}

void MetalRenderCore::drawTexturedBytes(std::span<const std::byte> vertices, std::size_t count,
                                        const GpuTexture& texture, GpuRenderEncoder& encoder,
                                        const GpuPipeline* pipeline) const {
    if (count == 0 || !pipeline) return;
    encoder.setPipeline(*pipeline);
    encoder.setVertexBytes(0, vertices);
    encoder.setFragmentTexture(0, texture, *linearSampler_);
    encoder.draw(GpuPrimitive::triangles, 0, count);
}

} // namespace rewindle
