#include "host/opengl/OpenGLDevice.h"

#include "host/opengl/OpenGLCommandBuffer.h"
#include "host/opengl/OpenGLPipelines.h"
#include "host/opengl/OpenGLResources.h"

#include <algorithm>
#include <cassert>
#include <utility>

namespace rewindle {
namespace {

class Queue final : public GpuCommandQueue {
public:
    explicit Queue(OpenGLDevice& device) : device_(device) {}
    [[nodiscard]] GpuCommandBuffer* makeCommandBuffer() override { return device_.takeCommandBuffer(); }

private:
    OpenGLDevice& device_;
};

} // namespace

std::unique_ptr<OpenGLDevice> OpenGLDevice::make(const GlLoader& loader, int maxTextureSize) {
    auto gl = loadGlFunctions(loader);
    if (!gl) return nullptr;
    gl->maxTextureSize = std::min(gl->maxTextureSize, maxTextureSize);
    return std::unique_ptr<OpenGLDevice>(new OpenGLDevice(*std::move(gl)));
}

OpenGLDevice::OpenGLDevice(GlFunctions gl) : gl_(std::move(gl)), encoder_(gl_) {}

OpenGLDevice::~OpenGLDevice() {
    while (waitForCompletion()) {
    }
}

std::unique_ptr<GpuCommandQueue> OpenGLDevice::makeCommandQueue() {
    return std::make_unique<Queue>(*this);
}

Result<std::unique_ptr<GpuLibrary>> OpenGLDevice::makeLibrary() {
    return OpenGLLibrary::compile(gl_);
}

std::unique_ptr<GpuSampler> OpenGLDevice::makeLinearSampler() {
    return std::make_unique<OpenGLSampler>(gl_);
}

std::unique_ptr<GpuPipeline> OpenGLDevice::makePipeline(const GpuLibrary& library,
                                                        const GpuPipelineDescriptor& descriptor) {
    return OpenGLPipeline::link(gl_, dynamic_cast<const OpenGLLibrary&>(library), descriptor);
}

std::unique_ptr<GpuBuffer> OpenGLDevice::makeBuffer(std::size_t length) {
    return OpenGLBuffer::make(gl_, length);
}

std::unique_ptr<GpuTexture> OpenGLDevice::makeTexture(const GpuTextureDescriptor& descriptor) {
    return OpenGLTexture::make(gl_, descriptor);
}

bool OpenGLDevice::waitForCompletion() {
    if (inFlight_.empty()) return false;
    (void)inFlight_.front()->isComplete(true);
    completeOldest();
    return true;
}

GpuCommandBuffer* OpenGLDevice::takeCommandBuffer() {
    assert(!open_);
    while (!inFlight_.empty() && inFlight_.front()->isComplete(false))
        completeOldest();
    if (idle_.empty()) {
        open_ = std::make_unique<OpenGLCommandBuffer>(gl_, *this, encoder_);
    } else {
        open_ = std::move(idle_.back());
        idle_.pop_back();
    }
    return open_.get();
}

void OpenGLDevice::putInFlight([[maybe_unused]] OpenGLCommandBuffer& commands) {
    assert(&commands == open_.get());
    inFlight_.push_back(std::move(open_));
}

void OpenGLDevice::completeOldest() {
    auto done = std::move(inFlight_.front());
    inFlight_.erase(inFlight_.begin());
    done->complete();
    idle_.push_back(std::move(done));
}

} // namespace rewindle
