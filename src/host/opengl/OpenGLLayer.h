#pragma once

#include "host/opengl/OpenGLResources.h"
#include "platform/GpuLayer.h"

namespace rewindle {

/// A framebuffer that somebody shows, such as a widget's: 8 bits per component, alpha included, one sample.
///
/// Threads: interface thread, with the framebuffer's context current whenever a frame is drawn.
class OpenGLLayer final : public GpuLayer, public GpuDrawable {
public:
    /// Where frames go from now on, in pixels. A size of nothing means that there is nothing to draw to.
    void setTarget(GLuint framebuffer, int width, int height) { target_ = OpenGLTarget(framebuffer, width, height); }

    void configure(GpuDevice&, const GpuLayerConfiguration&) override {} // done by whoever made the framebuffer
    [[nodiscard]] Size drawableSize() const override {
        return {static_cast<double>(target_.width()), static_cast<double>(target_.height())};
    }
    [[nodiscard]] GpuDrawable* nextDrawable() override {
        return target_.width() > 0 && target_.height() > 0 ? this : nullptr;
    }
    [[nodiscard]] GpuTexture& texture() override { return target_; }

private:
    OpenGLTarget target_;
};

} // namespace rewindle
