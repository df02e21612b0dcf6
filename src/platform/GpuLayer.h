#pragma once

#include "base/Geometry.h"
#include "platform/GpuResources.h"

namespace rewindle {

class GpuDevice;

/// The picture that a layer shows next.
class GpuDrawable {
public:
    virtual ~GpuDrawable() = default;
    [[nodiscard]] virtual GpuTexture& texture() = 0;
};

struct GpuLayerConfiguration {
    bool framebufferOnly = true; // what was drawn cannot be copied
    bool opaque = false;
    friend bool operator==(const GpuLayerConfiguration&, const GpuLayerConfiguration&) = default;
};

/// Where a view's frames are shown: 8 bits per component, sRGB, no extended range.
///
/// Threads: interface thread.
class GpuLayer {
public:
    virtual ~GpuLayer() = default;
    virtual void configure(GpuDevice& device, const GpuLayerConfiguration& configuration) = 0;
    [[nodiscard]] virtual Size drawableSize() const = 0; // pixels
    /// Belongs to the layer; valid until the next one is taken. Null when there is none now.
    [[nodiscard]] virtual GpuDrawable* nextDrawable() = 0;
};

} // namespace rewindle
