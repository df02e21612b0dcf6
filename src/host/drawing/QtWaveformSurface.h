#pragma once

#include "base/Log.h"
#include "host/opengl/OpenGLDevice.h"
#include "host/opengl/OpenGLLayer.h"
#include "render/gpu/FrameDump.h"
#include "render/gpu/WaveformMetalRenderer.h"
#include "waveform/WaveformRenderer.h"

#include <QImage>
#include <QOpenGLWidget>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace rewindle {

/// A place on the screen that the GPU draws the waveform on, in front of a backdrop. It takes no input.
///
/// Threads:   interface thread.
/// Lifecycle: what the services refer to outlives it.
class QtWaveformSurface final : public QOpenGLWidget, public WaveformRenderer {
    Q_OBJECT

public:
    struct Services {
        Log log;
        FrameDump& dump;
        bool isES = false; // the kind of context
        /// What the GPU turned out to be; empty when it cannot be drawn with.
        std::function<void(const std::string& rendererName)> onReady;
    };
    QtWaveformSurface(Services services, QWidget* parent);
    ~QtWaveformSurface() override;

    /// The GPU cannot be drawn with. The surface may be destroyed then.
    std::function<void()> onUnusable;

    /// One column of pixels, from top to bottom, that is seen behind the waveform along its whole width.
    void setBackdrop(QImage column);
    /// Shown soon.
    void render(const WaveformFrame& frame, std::span<const float> minima, std::span<const float> maxima) override;

protected:
    void initializeGL() override;
    void paintGL() override;
    void paintEvent(QPaintEvent* event) override;

private:
    void report(const std::string& rendererName);
    void tell();
    void release();

    const Services services_;
    std::optional<std::string> rendererName_; // as it was reported
    QImage backdrop_;
    WaveformFrame frame_;
    std::vector<float> minima_, maxima_;
    OpenGLLayer layer_;
    std::unique_ptr<OpenGLDevice> device_;
    std::unique_ptr<MetalRenderCore> core_;
    std::unique_ptr<WaveformMetalRenderer> renderer_;
};

} // namespace rewindle
