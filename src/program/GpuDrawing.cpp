#include "program/GpuDrawing.h"

#include "host/process/QtProcessLauncher.h"
#include "program/Environment.h"
#include "render/gpu/RendererChoice.h"

namespace rewindle {
GpuDrawing::GpuDrawing(DefaultsStore& defaults, const Clock& clock, LogSink& log)
    : logSink_(log), dump_(environmentVariable("REWINDLE_DUMP_FRAME"), clock, imageWriter_),
      probeHost_(QtProcessLauncher().executable().value_or(std::filesystem::path())),
      probe_(defaults, probeHost_, Log(log, "Gpu")) {}

std::function<QtWaveformSurface*(QWidget*)> GpuDrawing::surfaceFactory() {
    const auto ask = [this] { return answer_ = probe_.answer(); };
    const auto choice = rendererChoice(environmentVariable("REWINDLE_RENDERER"));
    if (!drawsWithGpu(choice, qtPlatformShowsGpu(), ask)) return {};
    // The answer may have been remembered for days, and Qt crashes when there is no context for a window with a GPU
    // view.
    if (!drawsWithGpu(choice, true, [this] { return gpuOfContext(answer_.isES); })) {
        onSurfaceReady({});
        return {};
    }
    return [this](QWidget* parent) {
        return new QtWaveformSurface({.log = Log(logSink_, "Gpu"),
                                      .dump = dump_,
                                      .isES = answer_.isES,
                                      .onReady = [this](const std::string& name) { onSurfaceReady(name); }},
                                     parent);
    };
}

void GpuDrawing::onSurfaceReady(const std::string& rendererName) {
    Log(logSink_, "Gpu")
        .info(rendererName.empty() ? "The GPU cannot be drawn with." : "Drawing with " + rendererName);
    const bool isHardware = !rendererName.empty() && !isSoftwareRenderer(rendererName);
    if (answer_.kind == GpuKind::hardware && !isHardware) probe_.forget();
}

} // namespace rewindle
