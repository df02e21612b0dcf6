#include "host/drawing/QtGpuProbe.h"

#include "host/opengl/DriverFingerprint.h"
#include "host/opengl/GlFunctions.h"
#include "host/windows/DisplayCheck.h"
#include "render/gpu/GpuProbe.h"

#include <QFile>
#include <QGuiApplication>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QProcess>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace rewindle {
namespace {

GpuProbeAnswer answerOfThisProcess() {
    if (displayProblem(DisplayEnvironment::ofProcess())) return {};
    int count = 1;
    std::array<char, 9> name{"rewindle"};
    std::array<char*, 2> arguments{name.data(), nullptr};
    const QGuiApplication application(count, arguments.data());
    if (!qtPlatformShowsGpu()) return {};
    auto answer = gpuOfContext(false);
    return answer.kind == GpuKind::none ? gpuOfContext(true) : answer;
}

} // namespace

int runGpuProbe() {
    const std::string line = probeLine(answerOfThisProcess()) + "\n";
    const bool written = std::fwrite(line.data(), 1, line.size(), stdout) == line.size() && std::fflush(stdout) == 0;
    std::_Exit(written ? 0 : 1); // what a driver does at a regular exit could still crash, and would change nothing
}

GpuProbeAnswer gpuOfContext(bool isES) {
    QOpenGLContext context;
    context.setFormat(gpuSurfaceFormat(isES));
    if (!context.create()) return {};
    QOffscreenSurface surface;
    surface.setFormat(context.format());
    surface.create();
    if (!context.makeCurrent(&surface)) return {};
    const auto gl = loadGlFunctions([&](const char* name) { return context.getProcAddress(name); });
    if (!gl) return {};
    return {.kind = isSoftwareRenderer(gl->rendererName) ? GpuKind::software : GpuKind::hardware,
            .isES = gl->isES,
            .driver = gl->rendererName};
}

QSurfaceFormat gpuSurfaceFormat(bool isES) {
    QSurfaceFormat format;
    format.setRenderableType(isES ? QSurfaceFormat::OpenGLES : QSurfaceFormat::OpenGL);
    format.setVersion(3, isES ? 0 : 3);
    format.setProfile(isES ? QSurfaceFormat::NoProfile : QSurfaceFormat::CoreProfile);
    format.setAlphaBufferSize(8);
    format.setDepthBufferSize(0);
    format.setStencilBufferSize(0);
    format.setSamples(0);
    return format;
}

bool qtPlatformShowsGpu() {
    const QString platform = QGuiApplication::platformName();
    return platform == QLatin1String("xcb") || platform.startsWith(QLatin1String("wayland"));
}

std::string QtGpuProbeHost::driverFingerprint() {
    return rewindle::driverFingerprint([](const char* name) -> const char* {
        return std::getenv(name); // NOLINT(concurrency-mt-unsafe): nothing here writes the environment
    });
}

std::optional<std::string> QtGpuProbeHost::runProbeChild() {
    QProcess child;
    child.setStandardInputFile(QProcess::nullDevice());
    child.setStandardErrorFile(QProcess::nullDevice());
    child.start(QFile::decodeName(executable_.c_str()), {QString::fromUtf8(kGpuProbeArgument.data())});
    if (!child.waitForFinished(static_cast<int>(longestRun_.count()))) {
        child.kill();
        child.waitForFinished();
        return std::nullopt;
    }
    if (child.exitStatus() != QProcess::NormalExit || child.exitCode() != 0) return std::nullopt;
    return child.readAllStandardOutput().toStdString();
}

} // namespace rewindle
