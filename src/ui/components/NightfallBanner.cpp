#include "ui/components/NightfallBanner.h"

#include "ui/components/NightfallIcons.h"
#include "ui/components/NightfallPaint.h"

#include <QAccessible>
#include <QHBoxLayout>

namespace rewindle {
namespace {

using Metrics = NightfallMetrics;
constexpr int kGlyphSize = 18;

} // namespace

NightfallBanner::NightfallBanner(const NightfallTheme& theme, QWidget* parent)
    : QWidget(parent), theme_(theme), label_(new NightfallLabel(theme, NightfallText::body)) {
    label_->setWordWrap(true);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(Metrics::medium + kGlyphSize + Metrics::small, 6, Metrics::medium, 6);
    row->addWidget(label_, 1);
    hide();
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

void NightfallBanner::setMessage(const QString& message) {
    if (message == label_->text()) return;
    label_->setContent(message);
    setVisible(!message.isEmpty());
    if (message.isEmpty()) return;
    QAccessibleEvent alert(label_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void NightfallBanner::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    const auto& palette = theme_.palette();
    NightfallPaint::fillRounded(painter, rect(), Metrics::controlRadius, palette.dangerSurface);
    const QRectF glyph(Metrics::medium, (height() - kGlyphSize) / 2.0, kGlyphSize, kGlyphSize);
    paintGlyph(painter, NightfallGlyph::warning, glyph, palette.danger);
}

} // namespace rewindle
