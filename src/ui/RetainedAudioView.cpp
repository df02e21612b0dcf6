#include "ui/RetainedAudioView.h"

#include "ui/NightfallPaint.h"
#include "ui/SessionTexts.h"

#include <QLinearGradient>

#include <algorithm>
#include <cmath>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
using Metrics = NightfallMetrics;
constexpr qreal kTrackHeight = 8, kSidePadding = 18, kFigureHeight = 36, kGap = 10, kCaptionHeight = 16;
constexpr int kLowest = 56; // points of height below which the picture makes no sense

/// "5 minutes ago"
QString agoText(int capacitySeconds) {
    const auto duration = recordingDurationFromSeconds(capacitySeconds);
    return duration ? fromUtf8(label(*duration)) + u" ago"_s : QString();
}

} // namespace

RetainedAudioView::RetainedAudioView(const NightfallTheme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), levels_(new LevelFigures(theme, this)) {
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumHeight(kLowest);
    setAccessibleName(u"Audio in memory"_s);
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

void RetainedAudioView::setRetained(double seconds, int capacitySeconds) {
    seconds_ = seconds;
    capacitySeconds_ = capacitySeconds;
    const Shown now = shown();
    if (now == shown_) return;
    if (now.time != shown_.time || now.capacity != shown_.capacity) {
        setAccessibleDescription(now.time + u" of "_s + now.capacity);
    }
    shown_ = now;
    update();
}

RetainedAudioView::Shown RetainedAudioView::shown() const {
    const double share = capacitySeconds_ > 0 ? std::clamp(seconds_ / capacitySeconds_, 0.0, 1.0) : 0;
    const double pixels = places().track.width() * devicePixelRatioF() * share;
    return {clockText(seconds_), clockText(capacitySeconds_), static_cast<int>(std::lround(pixels))};
}

RetainedAudioView::Places RetainedAudioView::places() const {
    Places result;
    result.panel = rect();
    const QRectF inner = result.panel.adjusted(kSidePadding, 0, -kSidePadding, 0);
    // From the top: figure, track, captions; the captions go first when it gets tight, then the gaps.
    qreal needed = kFigureHeight + kGap + kTrackHeight + kGap + kCaptionHeight;
    result.hasCaptions = inner.height() >= needed + 8;
    if (!result.hasCaptions) needed -= kGap + kCaptionHeight;
    const qreal gap = std::min(kGap, std::max(2.0, kGap + inner.height() - needed - 8));
    const qreal used = result.hasCaptions ? needed : kFigureHeight + gap + kTrackHeight;
    const qreal top = inner.top() + (inner.height() - used) / 2;
    result.figure = {inner.left(), top, inner.width(), kFigureHeight};
    result.track = {inner.left(), result.figure.bottom() + gap, inner.width(), kTrackHeight};
    result.captions = {inner.left(), result.track.bottom() + kGap - 2, inner.width(), kCaptionHeight};
    return result;
}

void RetainedAudioView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    const auto place = places();
    levels_->adjustSize();
    levels_->move(static_cast<int>(place.figure.right()) - levels_->width(),
                  static_cast<int>(place.figure.bottom()) - levels_->height() - 3);
    shown_ = shown();
}

void RetainedAudioView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const auto place = places();
    const auto& colors = theme_.waveform();
    QLinearGradient gradient(place.panel.topLeft(), place.panel.bottomLeft());
    gradient.setColorAt(0, toQColor(colors.backgroundGradientStart));
    gradient.setColorAt(1, toQColor(colors.background));
    NightfallPaint::fillRounded(painter, place.panel, Metrics::cardRadius, gradient);
    NightfallPaint::strokeRounded(painter, place.panel, Metrics::cardRadius, theme_.palette().hairline,
                                  NightfallPaint::hairline(painter));
    paintFigure(painter, place.figure);
    paintTrack(painter, place.track);
    if (place.hasCaptions) paintCaptions(painter, place.captions);
}

void RetainedAudioView::paintFigure(QPainter& painter, const QRectF& place) const {
    const QFont big = NightfallTheme::font(NightfallText::bigFigure);
    const qreal baseline = place.bottom() - 5;
    painter.setFont(big);
    painter.setPen(theme_.palette().text);
    painter.drawText(QPointF(place.left(), baseline), shown_.time);
    const qreal x = place.left() + QFontMetricsF(big).horizontalAdvance(shown_.time) + 10;
    painter.setFont(NightfallTheme::font(NightfallText::body));
    painter.setPen(theme_.palette().textSecondary);
    painter.drawText(QPointF(x, baseline), u"of "_s + shown_.capacity);
}

void RetainedAudioView::paintTrack(QPainter& painter, const QRectF& track) const {
    const auto& colors = theme_.waveform();
    NightfallPaint::fillRounded(painter, track, kTrackHeight / 2, theme_.palette().control);
    const qreal filled = shown_.filledPixels / devicePixelRatioF();
    if (filled <= 0) return;
    const QRectF kept(track.right() - std::max(filled, kTrackHeight), track.top(), std::max(filled, kTrackHeight),
                      track.height());
    QLinearGradient gradient(track.topLeft(), track.topRight());
    gradient.setColorAt(0, toQColor(colors.waveformBottom));
    gradient.setColorAt(1, toQColor(colors.waveformTop));
    NightfallPaint::fillRounded(painter, kept, kTrackHeight / 2, gradient);
}

void RetainedAudioView::paintCaptions(QPainter& painter, const QRectF& place) const {
    painter.setFont(NightfallTheme::font(NightfallText::caption));
    painter.setPen(theme_.palette().textSecondary);
    painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeft, agoText(capacitySeconds_));
    painter.drawText(place, Qt::AlignVCenter | Qt::AlignRight, u"now"_s);
}

} // namespace rewindle
