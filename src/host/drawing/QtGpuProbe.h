#pragma once

#include "platform/GpuProbeHost.h"
#include "render/gpu/GpuProbe.h"

#include <QSurfaceFormat>

#include <chrono>
#include <filesystem>
#include <string_view>

namespace rewindle {

/// The one argument of a probe child.
inline constexpr std::string_view kGpuProbeArgument = "--gpu-probe";

/// The whole of a probe child: makes a context as a GPU view would, prints what it found as `probeLine` does, and
/// gives the process's exit status. Requires: nothing of Qt was made before.
[[nodiscard]] int runGpuProbe();

/// Makes a context as a GPU view would, and tells what draws in it; none when there is no such context, or it is too
/// old. Requires: a QGuiApplication.
[[nodiscard]] GpuProbeAnswer gpuOfContext(bool isES);

/// What a GPU view asks of its context: OpenGL 3.3 core or OpenGL ES 3.0, an alpha channel, one sample, no depth.
[[nodiscard]] QSurfaceFormat gpuSurfaceFormat(bool isES);

/// False where Qt has no OpenGL in windows, so that a GPU view must not even be made. Requires: a QGuiApplication.
[[nodiscard]] bool qtPlatformShowsGpu();

/// Runs a copy of this program as the probe child.
class QtGpuProbeHost final : public GpuProbeHost {
public:
    explicit QtGpuProbeHost(std::filesystem::path executable,
                            std::chrono::milliseconds longestRun = std::chrono::seconds(2))
        : executable_(std::move(executable)), longestRun_(longestRun) {}
    [[nodiscard]] std::string driverFingerprint() override;
    [[nodiscard]] std::optional<std::string> runProbeChild() override;

private:
    const std::filesystem::path executable_;
    const std::chrono::milliseconds longestRun_;
};

} // namespace rewindle
