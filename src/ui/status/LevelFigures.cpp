#include "ui/status/LevelFigures.h"

#include "meter/CaptureLevelMeter.h"
#include "ui/components/FigureText.h"

#include <QPaintEvent>
#include <QPainter>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
constexpr int kGap = 14; // between the channels

int widthOf(const QString& text) {
    return QFontMetrics(NightfallTheme::font(NightfallText::figure)).horizontalAdvance(text);
}

} // namespace

LevelFigures::LevelFigures(const NightfallTheme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), letterWidth_(widthOf(u"L "_s)), figureWidth_(widthOf(u"−48.0"_s)) {
    setFont(NightfallTheme::font(NightfallText::figure));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(u"Level, left and right"_s);
    setLevels({CaptureLevelMeter::kInitialDB, CaptureLevelMeter::kInitialDB});
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

void LevelFigures::setLevels(const std::array<float, 2>& displayDB) {
    for (std::size_t channel = 0; channel < texts_.size(); ++channel) {
        const QString text = figureText(CaptureLevelMeter::readoutText(displayDB[channel]));
        if (text == texts_[channel]) continue;
        texts_[channel] = text;
        update(figureRect(channel)); // many times a second, while the rest stays
    }
}

QRect LevelFigures::figureRect(std::size_t channel) const {
    const int left = static_cast<int>(channel) * (letterWidth_ + figureWidth_ + kGap);
    return {left + letterWidth_, 0, figureWidth_, height()};
}

QSize LevelFigures::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {metrics.horizontalAdvance(u"L −48.0R −48.0 dB"_s) + kGap, metrics.height()};
}

void LevelFigures::paintEvent(QPaintEvent* event) {
    QPainter painter(this);
    const auto draw = [&](const QRect& rect, Qt::AlignmentFlag side, const QColor& color, const QString& text) {
        if (!event->rect().intersects(rect)) return;
        painter.setPen(color);
        painter.drawText(rect, static_cast<int>(Qt::AlignVCenter | side), text);
    };
    const auto& palette = theme_.palette();
    for (std::size_t channel = 0; channel < texts_.size(); ++channel) {
        const QRect figure = figureRect(channel);
        const QRect letter(figure.left() - letterWidth_, 0, letterWidth_, height());
        draw(letter, Qt::AlignLeft, palette.textSecondary, channel == 0 ? u"L"_s : u"R"_s);
        draw(figure, Qt::AlignRight, palette.text, texts_[channel]);
    }
    const int end = figureRect(1).right() + 1;
    draw({end, 0, width() - end, height()}, Qt::AlignRight, palette.textSecondary, u"dB"_s);
}

} // namespace rewindle
