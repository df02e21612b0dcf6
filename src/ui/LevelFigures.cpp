#include "ui/LevelFigures.h"

#include "meter/CaptureLevelMeter.h"

#include <QPainter>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
constexpr int kGap = 14; // between the channels

} // namespace

LevelFigures::LevelFigures(const NightfallTheme& theme, QWidget* parent) : QWidget(parent), theme_(theme) {
    setFont(NightfallTheme::font(NightfallText::figure));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(u"Level, left and right"_s);
    setLevels({CaptureLevelMeter::kInitialDb, CaptureLevelMeter::kInitialDb});
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

void LevelFigures::setLevels(const std::array<float, 2>& displayDb) {
    std::array<QString, 2> texts;
    for (std::size_t channel = 0; channel < texts.size(); ++channel) {
        texts[channel] = QString::fromStdString(CaptureLevelMeter::readoutText(displayDb[channel]));
        texts[channel].replace(u'-', u'−');
    }
    if (texts == texts_) return;
    texts_ = texts;
    update();
}

QSize LevelFigures::sizeHint() const {
    const QFontMetrics metrics = fontMetrics();
    return {metrics.horizontalAdvance(u"L −48.0R −48.0 dB"_s) + kGap, metrics.height()};
}

void LevelFigures::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const int letter = fontMetrics().horizontalAdvance(u"L "_s), figure = fontMetrics().horizontalAdvance(u"−48.0"_s);
    int x = 0;
    for (std::size_t channel = 0; channel < texts_.size(); ++channel) {
        painter.setPen(theme_.palette().textSecondary);
        painter.drawText(QRect(x, 0, letter, height()), Qt::AlignVCenter | Qt::AlignLeft,
                         channel == 0 ? u"L"_s : u"R"_s);
        painter.setPen(theme_.palette().text);
        painter.drawText(QRect(x + letter, 0, figure, height()), Qt::AlignVCenter | Qt::AlignRight, texts_[channel]);
        x += letter + figure + kGap;
    }
    painter.setPen(theme_.palette().textSecondary);
    painter.drawText(rect(), Qt::AlignVCenter | Qt::AlignRight, u"dB"_s);
}

} // namespace rewindle
