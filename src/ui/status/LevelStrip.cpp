#include "ui/status/LevelStrip.h"

#include "meter/CaptureLevelMeter.h"
#include "ui/components/FigureText.h"
#include "ui/components/NightfallPaint.h"

#include <QLinearGradient>

#include <cmath>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
using Metrics = NightfallMetrics;
constexpr qreal kBarHeight = 6, kRowHeight = 15, kTop = 4;

} // namespace

LevelStrip::LevelStrip(const NightfallTheme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), displayDB_{CaptureLevelMeter::kInitialDB, CaptureLevelMeter::kInitialDB} {
    setFont(NightfallTheme::font(NightfallText::figure));
    setFixedHeight(kHeight);
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAccessibleName(u"Level meter"_s);
    shown_ = {reading(0), reading(1)};
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

void LevelStrip::setLevels(const std::array<float, 2>& displayDB) {
    displayDB_ = displayDB;
    if (!isVisible()) return; // the readings are those of the next paint
    for (std::size_t channel = 0; channel < shown_.size(); ++channel) {
        const Reading now = reading(channel);
        if (now == shown_[channel]) continue;
        shown_[channel] = now;
        const int top = channel == 0 ? 0 : kHeight / 2;
        update(0, top, width(), kHeight / 2);
    }
}

QRectF LevelStrip::bar(std::size_t channel) const {
    const qreal left = Metrics::large + fontMetrics().horizontalAdvance(u"L"_s) + Metrics::medium;
    const qreal right = width() - Metrics::large - fontMetrics().horizontalAdvance(u"−48.0 dB"_s) - Metrics::medium;
    const qreal middle = kTop + kRowHeight * (static_cast<qreal>(channel) + 0.5);
    return {left, middle - kBarHeight / 2, std::max(0.0, right - left), kBarHeight};
}

LevelStrip::Reading LevelStrip::reading(std::size_t channel) const {
    const double filled =
        bar(channel).width() * devicePixelRatioF() * CaptureLevelMeter::fraction(displayDB_[channel]);
    const QString text = figureText(CaptureLevelMeter::readoutText(displayDB_[channel]));
    return {static_cast<int>(std::lround(filled)), text + u" dB"_s};
}

void LevelStrip::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), toQColor(theme_.waveform().meterStripBackground));
    const QRectF edge(0, 0, width(), NightfallPaint::hairline(painter));
    painter.fillRect(NightfallPaint::snapped(painter, edge), theme_.palette().hairline);
    shown_ = {reading(0), reading(1)};
    paintChannel(painter, 0);
    paintChannel(painter, 1);
}

void LevelStrip::paintChannel(QPainter& painter, std::size_t channel) const {
    const auto& colors = theme_.waveform();
    const QRectF whole = bar(channel);
    const qreal rowTop = whole.center().y() - kRowHeight / 2;
    painter.setPen(toQColor(colors.meterLabel));
    painter.drawText(QRectF(Metrics::large, rowTop, whole.left(), kRowHeight), Qt::AlignVCenter | Qt::AlignLeft,
                     channel == 0 ? u"L"_s : u"R"_s);
    painter.setPen(toQColor(colors.meterReadout));
    painter.drawText(QRectF(whole.right(), rowTop, width() - Metrics::large - whole.right(), kRowHeight),
                     Qt::AlignVCenter | Qt::AlignRight, shown_[channel].text);

    NightfallPaint::fillRounded(painter, whole, kBarHeight / 2, toQColor(colors.meterTrack));
    const qreal filled = shown_[channel].filledPixels / devicePixelRatioF();
    if (filled <= 0) return;
    QLinearGradient gradient(whole.topLeft(), whole.topRight());
    gradient.setColorAt(0, toQColor(colors.meterLow));
    gradient.setColorAt(CaptureLevelMeter::fraction(-12), toQColor(colors.meterLow));
    gradient.setColorAt(CaptureLevelMeter::fraction(-3), toQColor(colors.meterMid));
    gradient.setColorAt(CaptureLevelMeter::fraction(0), toQColor(colors.meterHigh));
    painter.save();
    painter.setClipRect(QRectF(whole.left(), whole.top(), filled, whole.height()));
    NightfallPaint::fillRounded(painter, whole, kBarHeight / 2, gradient);
    painter.restore();
}

} // namespace rewindle
