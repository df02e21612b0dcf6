#include "ui/waveform/WaveformViewRepresentable.h"

#include "host/drawing/PaintedImage.h"
#include "ui/status/SessionTexts.h"
#include "ui/waveform/WaveformInput.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QNativeGestureEvent>
#include <QPaintEvent>
#include <QPainter>

#include <algorithm>
#include <cmath>
#include <utility>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
constexpr double kActivatingPressSeconds = 0.1; // that a press may come after the activation it causes

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* const widget = dynamic_cast<WaveformViewRepresentable*>(object);
    return widget ? new QAccessibleWidget(widget, QAccessible::Graphic) : nullptr;
}

} // namespace

/// Hands the clock's ticks to the view. All that has changed since the last tick, however many events there were, is
/// then painted once.
class WaveformViewRepresentable::Ticks final : public DisplayClockClient {
public:
    explicit Ticks(WaveformViewRepresentable& owner) : owner_(owner) {}
    void displayLinkTick() override {
        owner_.view_->displayLinkTick();
        owner_.paintIfDue();
    }
    void timerTick(bool visible) override {
        owner_.view_->timerTick(visible);
        owner_.paintIfDue();
    }
    [[nodiscard]] AnimationClockMode preferredClockMode() const override {
        return owner_.view_->preferredClockMode();
    }

private:
    WaveformViewRepresentable& owner_;
};

WaveformViewRepresentable::WaveformViewRepresentable(AppSession& session, const WaveformServices& services,
                                                     std::shared_ptr<WindowAnimationDriver> driver,
                                                     const NightfallTheme& theme)
    : session_(session), clock_(services.clock), theme_(theme), driver_(std::move(driver)),
      view_(std::make_shared<WaveformView>(WaveformView::Services{
          .host = *this,
          .clock = services.clock,
          .freeze = services.freeze,
          .audition = services.audition,
          .saver = services.saver,
          .pasteboard = services.pasteboard,
          .dragSource = services.dragSource,
          .timingLog = services.timingLog,
          .forcedClockMode = services.forcedClockMode,
      })),
      ticks_(std::make_shared<Ticks>(*this)), container_(view_),
      followButton_(new NightfallButton(theme, NightfallButton::Kind::secondary, {}, NightfallGlyph::pause, this)) {
    static const bool isInstalled = [] { return QAccessible::installFactory(makeAccessible), true; }();
    (void)isInstalled;
    setAccessibleName(u"Waveform"_s);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    followButton_->setFocusPolicy(Qt::TabFocus); // a click leaves the keys to the waveform
    followButton_->setCursor(Qt::ArrowCursor);
    connect(followButton_, &QPushButton::clicked, this, [this] { container_.pressFollowButton(); });
    view_->setDriver(driver_);
    if (services.makeSurface) useSurface(services.makeSurface(this));
    observe();
}

WaveformViewRepresentable::~WaveformViewRepresentable() {
    observations_.clear();
    driver_->removeClient(ticks_.get());
    if (isLive_) session_.sampler().setLive(false);
    view_->setRenderer(nullptr);
    surface_ = nullptr;
}

void WaveformViewRepresentable::observe() {
    const auto takeBuffer = [this] { view_->setRingBuffer(session_.sampler().ringBuffer().get()); };
    const auto takeTheme = [this] {
        view_->setTheme(theme_.waveform());
        setNeedsDisplay();
        paintSurfaceBackdrop();
    };
    observations_.push_back(session_.sampler().ringBufferRevision().observe(takeBuffer));
    observations_.push_back(session_.sampler().isFrozen().observe([this] { view_->markDirty(); }));
    observations_.push_back(driver_->isRunning().observe([this] { updateLive(); }));
    observations_.push_back(container_.isFollowingLive().observe([this] { showFollowing(); }));
    connect(&theme_, &NightfallTheme::changed, this, takeTheme);
    takeTheme();
    takeBuffer();
    showFollowing();
}

/// Audio is handed over in small pieces only while somebody can see it come in.
void WaveformViewRepresentable::updateLive() {
    const bool isSeen = isShown_ && driver_->isRunning().get();
    if (isSeen == isLive_) return;
    isLive_ = isSeen;
    session_.sampler().setLive(isSeen);
    if (isSeen) return;
    view_->visibilityChanged(false);
    paintIfDue();
}

void WaveformViewRepresentable::showFollowing() {
    const bool follows = container_.isFollowingLive().get();
    const QString help = fromUtf8(container_.followHelpText());
    followButton_->setGlyph(follows ? NightfallGlyph::pause : NightfallGlyph::live);
    followButton_->setAccessibleName(help);
    followButton_->setToolTip(help);
}

// The widget

bool WaveformViewRepresentable::event(QEvent* event) {
    if (event->type() == QEvent::NativeGesture) {
        const auto& gesture = static_cast<const QNativeGestureEvent&>(*event);
        if (gesture.gestureType() != Qt::ZoomNativeGesture) return false;
        view_->magnifyWithEvent({{gesture.position().x(), gesture.position().y()}, gesture.value()});
        return true;
    }
    if (event->type() == QEvent::ShortcutOverride) {
        const auto key = keyEvent(*static_cast<const QKeyEvent*>(event));
        if (WaveformView::isKeyEquivalent(key)) event->accept();
    }
    return QWidget::event(event);
}

bool WaveformViewRepresentable::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::WindowActivate) activated_ = clock_.uptimeSeconds();
    return QWidget::eventFilter(watched, event);
}

// Widgets are also hidden, and shown, when their window is minimised and comes back: spontaneous events. The clock
// knows about that by itself.

void WaveformViewRepresentable::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (event->spontaneous()) return;
    window()->installEventFilter(this); // installing it again changes nothing
    isShown_ = true;
    driver_->addClient(ticks_);
    updateLive();
    setFocus(Qt::OtherFocusReason);
}

void WaveformViewRepresentable::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    pointer_.reset();
    if (event->spontaneous()) return;
    isShown_ = false;
    driver_->removeClient(ticks_.get());
    updateLive();
}

void WaveformViewRepresentable::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    view_->setBoundsSize({static_cast<double>(width()), static_cast<double>(height())});
    placeFollowButton();
    if (surface_) surface_->setGeometry(rect());
    paintSurfaceBackdrop();
}

void WaveformViewRepresentable::placeFollowButton() {
    const Rect rect = WaveformViewContainer::followButtonRect(view_->editor().size());
    constexpr int kRing = NightfallMetrics::ringMargin;
    followButton_->setGeometry(
        QRectF(rect.x, rect.y, rect.width, rect.height).toRect().adjusted(-kRing, -kRing, kRing, kRing));
}

// Drawing

void WaveformViewRepresentable::useSurface(QtWaveformSurface* surface) {
    surface_ = surface;
    surface_->lower(); // below the button
    surface_->onUnusable = [this] {
        std::exchange(surface_, nullptr)->deleteLater();
        view_->setRenderer(nullptr); // which asks for a picture
    };
    view_->setRenderer(surface_);
}

void WaveformViewRepresentable::paintSurfaceBackdrop() {
    if (!surface_) return;
    const double scale = devicePixelRatioF();
    const int pixels = std::max(1, static_cast<int>(std::lround(height() * scale)));
    const auto rows = backdrop_.rows(pixels, theme_.waveform(), scale);
    QImage column(1, pixels, QImage::Format_RGB32);
    for (int y = 0; y < pixels; ++y)
        column.setPixel(0, y, rows[static_cast<std::size_t>(y)]);
    surface_->setBackdrop(column);
}

void WaveformViewRepresentable::setNeedsDisplay() {
    if (surface_) return; // the view renders into it
    isPictureDue_ = isPaintDue_ = true;
    if (!isLive_) paintIfDue(); // no tick will come
}

void WaveformViewRepresentable::paintIfDue() {
    if (std::exchange(isPaintDue_, false)) update();
}

/// The picture has the pixels of the screen, which at a fractional scale do not fall on whole points.
void WaveformViewRepresentable::paintEvent(QPaintEvent* event) {
    if (surface_) return;
    QPainter painter(this);
    const QTransform toDevice = painter.deviceTransform();
    const QRectF exact = toDevice.mapRect(QRectF(rect()));
    const QRect pixels(
        QPoint(static_cast<int>(std::round(exact.left())), static_cast<int>(std::round(exact.top()))),
        QPoint(static_cast<int>(std::round(exact.right())) - 1, static_cast<int>(std::round(exact.bottom())) - 1));
    if (event->region().contains(rect()) && exact == QRectF(pixels)) {
        if (auto screen = paintedImage(painter, pixels)) return drawPicture(*screen);
    }
    keepPicture(pixels.size());
    painter.setWorldTransform(QTransform::fromScale(1 / toDevice.m11(), 1 / toDevice.m22()));
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(QPointF(pixels.topLeft()) - exact.topLeft(), picture_);
}

/// For where the picture cannot be drawn in its place. It is drawn anew only when something has changed: when a tool
/// tip goes away, say, the old one is shown again.
void WaveformViewRepresentable::keepPicture(QSize pixels) {
    if (picture_.size() == pixels && !isPictureDue_) return;
    if (picture_.size() != pixels) picture_ = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
    isPictureDue_ = false;
    if (!picture_.isNull()) drawPicture(picture_);
}

void WaveformViewRepresentable::drawPicture(QImage& image) {
    const Size size = view_->editor().size();
    context_.begin(image, size, backdrop_.rows(image.height(), theme_.waveform(), image.height() / size.height));
    view_->draw(context_);
    context_.end();
}

// Input

/// Whether a press that comes now is also the one that brings the window to the front.
bool WaveformViewRepresentable::activatesWindow() const {
    if (!isActiveWindow()) return true;
    return activated_ && clock_.uptimeSeconds() - *activated_ <= kActivatingPressSeconds;
}

void WaveformViewRepresentable::mousePressEvent(QMouseEvent* event) {
    const MouseEvent press = mouseEvent(*event, ++presses_);
    pointer_ = press.location;
    if (event->button() == Qt::LeftButton) {
        if (activatesWindow()) view_->acceptFirstMouse(press);
        view_->mouseDown(press);
    } else if (event->button() == Qt::MiddleButton) {
        view_->otherMouseDown(press);
    }
}

void WaveformViewRepresentable::mouseMoveEvent(QMouseEvent* event) {
    const MouseEvent move = mouseEvent(*event, presses_);
    pointer_ = move.location;
    if (event->buttons().testFlag(Qt::MiddleButton)) view_->otherMouseDragged(move);
    if (event->buttons().testFlag(Qt::LeftButton)) return view_->mouseDragged(move);
    view_->mouseMoved(move);
}

void WaveformViewRepresentable::mouseReleaseEvent(QMouseEvent* event) {
    const MouseEvent release = mouseEvent(*event, presses_);
    pointer_ = rect().contains(event->position().toPoint()) ? std::optional(release.location) : std::nullopt;
    if (event->button() == Qt::LeftButton) view_->mouseUp(release);
    if (event->button() == Qt::MiddleButton) view_->otherMouseUp(release);
}

void WaveformViewRepresentable::leaveEvent(QEvent* event) {
    QWidget::leaveEvent(event);
    pointer_.reset();
}

void WaveformViewRepresentable::wheelEvent(QWheelEvent* event) {
    // On X11 what counts as pixels is up to the driver: one step of a wheel may be 120.
    static const bool hasPixels = QGuiApplication::platformName() != u"xcb"_s;
    view_->scrollWheel(scrollEvent(*event, hasPixels));
}

bool WaveformViewRepresentable::offerKey(const QKeyEvent& event, bool isRepeat) {
    activated_.reset();
    view_->flagsChanged(modifierFlagsAfter(event));
    auto key = keyEvent(event);
    key.isRepeat = isRepeat;
    return key.modifiers.command ? view_->performKeyEquivalent(key) : view_->keyDown(key);
}

void WaveformViewRepresentable::keyReleaseEvent(QKeyEvent* event) {
    view_->flagsChanged(modifierFlagsAfter(*event));
    QWidget::keyReleaseEvent(event);
}

void WaveformViewRepresentable::setCursor(CursorShape shape) {
    QWidget::setCursor(qtCursorShape(shape));
}

void WaveformViewRepresentable::beep() {
    QApplication::beep();
}

} // namespace rewindle
