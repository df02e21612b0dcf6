#include "ui/WaveformViewRepresentable.h"

#include "ui/SessionTexts.h"
#include "ui/WaveformInput.h"

#include <QAccessibleWidget>
#include <QApplication>
#include <QNativeGestureEvent>
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

WaveformViewRepresentable::WaveformViewRepresentable(AppSession& session, ClipSaver& saver,
                                                     const WaveformServices& services,
                                                     std::shared_ptr<WindowAnimationDriver> driver,
                                                     const NightfallTheme& theme)
    : session_(session), clock_(services.clock), theme_(theme), driver_(std::move(driver)),
      view_(std::make_shared<WaveformView>(WaveformView::Services{
          .host = *this,
          .clock = services.clock,
          .freeze = services.freeze,
          .audition = services.audition,
          .saver = saver,
          .pasteboard = services.pasteboard,
          .dragSource = services.dragSource,
          .timingLog = services.timingLog,
          .forcedClockMode = services.forcedClockMode,
      })),
      container_(view_),
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

/// Audio comes in small pieces only for those who see them come in.
void WaveformViewRepresentable::updateLive() {
    const bool isSeen = isShown_ && driver_->isRunning().get();
    if (isSeen == isLive_) return;
    isLive_ = isSeen;
    session_.sampler().setLive(isSeen);
    if (!isSeen) view_->visibilityChanged(false);
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

// A window that is minimised hides its widgets, too. But that stops the clock by itself.

void WaveformViewRepresentable::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    if (event->spontaneous()) return;
    window()->installEventFilter(this); // once, however often
    isShown_ = true;
    driver_->addClient(view_);
    updateLive();
    setFocus(Qt::OtherFocusReason);
}

void WaveformViewRepresentable::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    pointer_.reset();
    if (event->spontaneous()) return;
    isShown_ = false;
    driver_->removeClient(view_.get());
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
    QImage column(1, std::max(1, static_cast<int>(std::lround(height() * scale))), QImage::Format_RGB32);
    backdrop_.paint(column, theme_.waveform(), scale);
    surface_->setBackdrop(column);
}

void WaveformViewRepresentable::setNeedsDisplay() {
    if (surface_) return; // it is given its pictures
    isPictureDue_ = true;
    update();
}

/// The picture has the pixels of the screen, which at a fractional scale do not fall on whole points.
void WaveformViewRepresentable::paintEvent(QPaintEvent*) {
    if (surface_) return;
    QPainter painter(this);
    const QTransform toDevice = painter.deviceTransform();
    const double left = std::round(toDevice.dx());
    const double top = std::round(toDevice.dy());
    const QSize pixels(static_cast<int>(std::round(toDevice.dx() + width() * toDevice.m11()) - left),
                       static_cast<int>(std::round(toDevice.dy() + height() * toDevice.m22()) - top));
    drawPicture(pixels);
    painter.setWorldTransform(QTransform::fromScale(1 / toDevice.m11(), 1 / toDevice.m22()));
    painter.setCompositionMode(QPainter::CompositionMode_Source);
    painter.drawImage(QPointF(left - toDevice.dx(), top - toDevice.dy()), picture_);
}

/// Only when something has changed: a tool tip that goes away, say, has the old picture shown again.
void WaveformViewRepresentable::drawPicture(QSize pixels) {
    if (picture_.size() != pixels) {
        picture_ = QImage(pixels, QImage::Format_ARGB32_Premultiplied);
        isPictureDue_ = true;
    }
    if (!isPictureDue_ || picture_.isNull()) return;
    isPictureDue_ = false;
    const Size size = view_->editor().size();
    backdrop_.paint(picture_, theme_.waveform(), picture_.height() / size.height);
    context_.begin(picture_, size);
    view_->draw(context_);
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
