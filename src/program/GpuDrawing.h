#pragma once

#include "host/drawing/QtGpuProbe.h"
#include "host/drawing/QtImageWriter.h"
#include "host/drawing/QtWaveformSurface.h"
#include "platform/DefaultsStore.h"
#include "render/gpu/GpuProbe.h"

#include <functional>

namespace rewindle {

/// Whether views are drawn by the GPU, and what it takes then.
///
/// Threads:   interface thread.
/// Lifecycle: outlives the surfaces.
class GpuDrawing {
public:
    GpuDrawing(DefaultsStore& defaults, const Clock& clock, LogSink& log);

    /// Makes surfaces; empty when the GPU is not to be used. May take seconds, once after a change of drivers.
    /// Requires: a QApplication.
    [[nodiscard]] std::function<QtWaveformSurface*(QWidget* parent)> surfaceFactory();

private:
    void onSurfaceReady(const std::string& rendererName);

    LogSink& logSink_;
    QtImageWriter imageWriter_;
    FrameDump dump_;
    QtGpuProbeHost probeHost_;
    GpuProbe probe_;
    GpuProbeAnswer answer_;
};

} // namespace rewindle
