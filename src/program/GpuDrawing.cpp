#include "program/GpuDrawing.h"

#include "platform/desktop/QtProcessLauncher.h"
#include "render/RendererChoice.h"

#include <cstdlib>

namespace rewindle {
namespace {

const char* environment(const char* name) {
    return std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing here writes the environment
}

} // namespace

GpuDrawing::GpuDrawing(DefaultsStore& defaults, const Clock& clock, LogSink& log)
    : logSink_(log), dump_(environment("REWINDLE_DUMP_FRAME"), clock, imageWriter_),
      probeHost_(QtProcessLauncher().executable().value_or(std::filesystem::path())),
      probe_(defaults, probeHost_, Log(log, "Gpu")) {}

std::function<QtWaveformSurface*(QWidget*)> GpuDrawing::surfaceFactory() {
    const auto ask = [this] { return answer_ = probe_.answer(); };
    const auto choice = rendererChoice(environment("REWINDLE_RENDERER"));
    if (!drawsWithGpu(choice, qtPlatformShowsGpu(), ask)) return {};
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
