#include "ui/components/NightfallSlider.h"

#include "base/CaptureGain.h"
#include "ui/components/FigureText.h"
#include "ui/components/NightfallPaint.h"

#include <QAccessibleWidget>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
using Metrics = NightfallMetrics;
constexpr int kTenths = 10, kStep = 5, kPage = 30, kDetent = 6; // tenths of a dB
constexpr qreal kTrackHeight = 4, kKnob = 18;
constexpr int kTextGap = 12, kUsualTrack = 220, kSmallestTrack = 96;

/// Tells screen readers the gain in dB, not in the slider's own steps.
class GainAccessible final : public QAccessibleWidget, public QAccessibleValueInterface {
public:
    explicit GainAccessible(NightfallSlider* slider) : QAccessibleWidget(slider, QAccessible::Slider) {}

    void* interface_cast(QAccessible::InterfaceType type) override {
        if (type == QAccessible::ValueInterface) return static_cast<QAccessibleValueInterface*>(this);
        return QAccessibleWidget::interface_cast(type);
    }
    QString text(QAccessible::Text which) const override {
        return which == QAccessible::Value ? slider().valueText() : QAccessibleWidget::text(which);
    }
    QVariant currentValue() const override { return static_cast<double>(slider().gainDB()); }
    void setCurrentValue(const QVariant& gainDB) override {
        slider().setValue(static_cast<int>(std::lround(gainDB.toDouble() * kTenths)));
    }
    QVariant maximumValue() const override { return slider().maximum() / static_cast<double>(kTenths); }
    QVariant minimumValue() const override { return slider().minimum() / static_cast<double>(kTenths); }
    QVariant minimumStepSize() const override { return kStep / static_cast<double>(kTenths); }

private:
    [[nodiscard]] NightfallSlider& slider() const { return *static_cast<NightfallSlider*>(widget()); }
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object) {
    auto* const slider = qobject_cast<NightfallSlider*>(object);
    return slider ? new GainAccessible(slider) : nullptr; // the accessibility cache owns it
}

} // namespace

QString gainText(float gainDB) {
    return figureText(CaptureGain::label(gainDB));
}

NightfallSlider::NightfallSlider(const NightfallTheme& theme, float limitDB, QWidget* parent)
    : QSlider(Qt::Horizontal, parent), theme_(theme), focus_(*this) {
    static const bool isInstalled = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    Q_UNUSED(isInstalled);
    const int limit = static_cast<int>(std::lround(limitDB * kTenths));
    setRange(-limit, limit);
    setSingleStep(kStep);
    setPageStep(kPage);
    setFont(NightfallTheme::font(NightfallText::figure));
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(this, &QSlider::valueChanged, this, [this] { Q_EMIT gainChosen(gainDB()); });
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

void NightfallSlider::setGainDB(float gainDB) {
    const QSignalBlocker noChoice(this);
    setValue(static_cast<int>(std::lround(gainDB * kTenths)));
    update();
}

QString NightfallSlider::valueText() const {
    return gainText(gainDB());
}

QSize NightfallSlider::sizeHint() const {
    return {minimumSizeHint().width() + kUsualTrack - kSmallestTrack, minimumSizeHint().height()};
}

QSize NightfallSlider::minimumSizeHint() const {
    const int text = fontMetrics().horizontalAdvance(gainText(-20));
    return {kSmallestTrack + kTextGap + text + Metrics::ringMargin, Metrics::controlHeight};
}

QRectF NightfallSlider::track() const {
    const int text = fontMetrics().horizontalAdvance(gainText(-20)) + kTextGap + Metrics::ringMargin;
    const qreal margin = kKnob / 2 + Metrics::ringMargin;
    return {margin, (height() - kTrackHeight) / 2, width() - text - 2 * margin, kTrackHeight};
}

qreal NightfallSlider::positionOf(int tenths) const {
    const QRectF line = track();
    return line.left() + line.width() * (tenths - minimum()) / (maximum() - minimum());
}

int NightfallSlider::valueAt(qreal x) const {
    const QRectF line = track();
    const qreal share = std::clamp((x - line.left()) / line.width(), 0.0, 1.0);
    const int tenths = minimum() + static_cast<int>(std::lround(share * (maximum() - minimum())));
    return std::abs(tenths) < kDetent ? 0 : tenths;
}

void NightfallSlider::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const auto& palette = theme_.palette();
    const QRectF line = track();
    const qreal zero = positionOf(0), here = positionOf(value());
    NightfallPaint::fillRounded(painter, line, kTrackHeight / 2, palette.controlPressed);
    NightfallPaint::fillRounded(painter, QRectF(zero - 1, line.top() - 3, 2, kTrackHeight + 6), 1, palette.outline);
    NightfallPaint::fillRounded(painter,
                                QRectF(std::min(zero, here), line.top(), std::abs(here - zero), kTrackHeight),
                                kTrackHeight / 2, palette.accent);

    const QRectF knob(here - kKnob / 2, line.center().y() - kKnob / 2, kKnob, kKnob);
    painter.setPen(Qt::NoPen);
    painter.setBrush(isSliderDown() ? palette.accentPressed : underMouse() ? palette.accentHover : palette.accent);
    painter.drawEllipse(knob);
    painter.setBrush(palette.onAccent);
    painter.drawEllipse(knob.center(), 3.0, 3.0);
    if (focus_.isVisible()) NightfallPaint::focusRing(painter, knob, kKnob / 2, palette.focusRing);

    painter.setPen(isEnabled() ? palette.text : palette.textDisabled);
    painter.drawText(QRectF(0, 0, width() - Metrics::ringMargin, height()), Qt::AlignVCenter | Qt::AlignRight,
                     valueText());
}

void NightfallSlider::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Delete || event->key() == Qt::Key_Backspace) return setValue(0);
    QSlider::keyPressEvent(event);
}

void NightfallSlider::wheelEvent(QWheelEvent* event) {
    // A page that is scrolled under the pointer must not change a gain on the way.
    if (hasFocus()) return QSlider::wheelEvent(event);
    event->ignore();
}

void NightfallSlider::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) return event->ignore();
    setSliderDown(true);
    setValue(valueAt(event->position().x()));
    event->accept();
}

void NightfallSlider::mouseMoveEvent(QMouseEvent* event) {
    if (isSliderDown()) setValue(valueAt(event->position().x()));
}

void NightfallSlider::mouseReleaseEvent(QMouseEvent*) {
    setSliderDown(false);
    update();
}

void NightfallSlider::mouseDoubleClickEvent(QMouseEvent* event) {
    if (event->button() == Qt::LeftButton) setValue(0);
}

} // namespace rewindle
