#include "ui/components/NightfallLabel.h"

#include <QPainter>

namespace rewindle {

NightfallLabel::NightfallLabel(const NightfallTheme& theme, NightfallText font, NightfallTextColor color,
                               QWidget* parent)
    : QLabel(parent), theme_(theme), color_(color) {
    setTextFormat(Qt::PlainText);
    setFont(NightfallTheme::font(font));
    applyColor();
    connect(&theme, &NightfallTheme::changed, this, [this] { applyColor(); });
}

void NightfallLabel::setContent(const QString& text) {
    if (text == this->text()) return;
    setText(text);
    updateToolTip();
}

void NightfallLabel::setColor(NightfallTextColor color) {
    if (color_ == color) return;
    color_ = color;
    applyColor();
}

void NightfallLabel::setElision(Qt::TextElideMode elision) {
    elision_ = elision;
    updateGeometry();
    updateToolTip();
}

QSize NightfallLabel::minimumSizeHint() const {
    const QSize usual = QLabel::minimumSizeHint();
    return elision_ == Qt::ElideNone ? usual : QSize(fontMetrics().averageCharWidth() * 4, usual.height());
}

void NightfallLabel::paintEvent(QPaintEvent* event) {
    if (elision_ == Qt::ElideNone) return QLabel::paintEvent(event);
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    painter.drawText(rect(), static_cast<int>(alignment()), fontMetrics().elidedText(text(), elision_, width()));
}

void NightfallLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    updateToolTip();
}

void NightfallLabel::applyColor() {
    QPalette colors = palette();
    colors.setColor(QPalette::WindowText, theme_.palette().*color_);
    setPalette(colors);
}

void NightfallLabel::updateToolTip() {
    if (elision_ == Qt::ElideNone) return;
    const bool isCut = fontMetrics().horizontalAdvance(text()) > width();
    setToolTip(isCut ? text() : QString());
}

} // namespace rewindle
