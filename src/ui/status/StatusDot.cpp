#include "ui/status/StatusDot.h"

#include <QPainter>

namespace rewindle {

StatusDot::StatusDot(const NightfallTheme& theme, QWidget* parent) : QWidget(parent), theme_(theme) {
    constexpr int kSize = 18;
    setFixedSize(kSize, kSize);
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

void StatusDot::setState(ListeningState state) {
    if (state_ == state) return;
    state_ = state;
    update();
}

void StatusDot::paintEvent(QPaintEvent*) {
    const auto& palette = theme_.palette();
    QColor color = palette.textDisabled;
    if (state_ == ListeningState::listening) color = palette.success;
    if (state_ == ListeningState::waiting || state_ == ListeningState::frozen) color = palette.warning;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    QColor halo = color;
    halo.setAlphaF(0.22F);
    painter.setBrush(halo);
    painter.drawEllipse(QRectF(rect()).center(), 8.0, 8.0);
    painter.setBrush(color);
    painter.drawEllipse(QRectF(rect()).center(), 4.0, 4.0);
}

} // namespace rewindle
