#include "host/drawing/QtWaveformSurface.h"

#include "host/drawing/QtGpuProbe.h"

#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <QPainter>

#include <cmath>
#include <utility>

namespace rewindle {

QtWaveformSurface::QtWaveformSurface(Services services, QWidget* parent)
    : QOpenGLWidget(parent), services_(std::move(services)) {
    setFormat(gpuSurfaceFormat(services_.isES));
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
}

QtWaveformSurface::~QtWaveformSurface() {
    release();
}

void QtWaveformSurface::setBackdrop(QImage column) {
    backdrop_ = std::move(column);
    update();
}

void QtWaveformSurface::render(const WaveformFrame& frame, std::span<const float> minima,
                               std::span<const float> maxima) {
    frame_ = frame;
    minima_.assign(minima.begin(), minima.end());
    maxima_.assign(maxima.begin(), maxima.end());
    update();
}

void QtWaveformSurface::initializeGL() {
    // Another window means another context, and what was made in the old one goes with it.
    connect(context(), &QOpenGLContext::aboutToBeDestroyed, this, &QtWaveformSurface::release);
    device_ = OpenGLDevice::make([this](const char* name) { return context()->getProcAddress(name); });
    core_ = MetalRenderCore::make(device_.get(), services_.log);
    if (core_) {
        core_->configure(layer_, false, services_.dump.isEnabled());
        renderer_ = std::make_unique<WaveformMetalRenderer>(*core_, services_.dump);
    }
    report(core_ ? device_->rendererName() : std::string());
}

/// Without a context this is the only function that Qt calls.
void QtWaveformSurface::paintEvent(QPaintEvent* event) {
    QOpenGLWidget::paintEvent(event);
    if (!isValid()) report({});
}

/// Tells it from the event loop: whoever is told may destroy this.
void QtWaveformSurface::report(const std::string& rendererName) {
    if (std::exchange(rendererName_, rendererName) == rendererName) return;
    QMetaObject::invokeMethod(this, &QtWaveformSurface::tell, Qt::QueuedConnection);
}

void QtWaveformSurface::tell() {
    services_.onReady(*rendererName_);
    if (rendererName_->empty() && onUnusable) onUnusable();
}

void QtWaveformSurface::paintGL() {
    if (!renderer_) return;
    // What the framebuffer held before would be seen when there is no frame yet.
    context()->functions()->glClearColor(0, 0, 0, 0);
    context()->functions()->glClear(GL_COLOR_BUFFER_BIT);
    const qreal scale = devicePixelRatioF();
    const int pixelWidth = static_cast<int>(std::lround(width() * scale));
    const int pixelHeight = static_cast<int>(std::lround(height() * scale));
    layer_.setTarget(defaultFramebufferObject(), pixelWidth, pixelHeight);
    renderer_->render(frame_, minima_, maxima_, layer_);
    QPainter painter(this);
    painter.setCompositionMode(QPainter::CompositionMode_DestinationOver);
    painter.drawImage(QRectF(rect()), backdrop_);
}

void QtWaveformSurface::release() {
    if (!device_) return;
    makeCurrent();
    services_.dump.releaseTexture();
    renderer_.reset();
    core_.reset();
    device_.reset();
    doneCurrent();
}

} // namespace rewindle
