#include "ui/components/NightfallSettingsRow.h"

#include <QBoxLayout>

namespace rewindle {

using Metrics = NightfallMetrics;

NightfallSettingsRow::NightfallSettingsRow(const NightfallTheme& theme, const QString& title, QWidget* control,
                                           Control place)
    : control_(control),
      description_(new NightfallLabel(theme, NightfallText::caption, &NightfallPalette::textSecondary)) {
    auto* const name = new NightfallLabel(theme, NightfallText::body);
    name->setContent(title);
    control->setAccessibleName(title);
    description_->setWordWrap(true);
    description_->hide();

    auto* const texts = new QVBoxLayout;
    texts->setSpacing(2);
    texts->setContentsMargins(Metrics::ringMargin, 0, Metrics::ringMargin, 0); // in line with what controls draw
    texts->addStretch();
    texts->addWidget(name);
    texts->addWidget(description_);
    texts->addStretch();

    const bool isBeside = place == Control::beside;
    auto* const row = new QBoxLayout(isBeside ? QBoxLayout::LeftToRight : QBoxLayout::TopToBottom, this);
    constexpr int kSide = Metrics::large - Metrics::ringMargin;
    row->setContentsMargins(kSide, Metrics::medium, kSide, Metrics::medium);
    row->setSpacing(isBeside ? Metrics::huge : Metrics::small);
    row->addLayout(texts, isBeside ? 1 : 0);
    row->addWidget(control, 0, isBeside ? Qt::AlignVCenter : Qt::Alignment());
}

void NightfallSettingsRow::setDescription(const QString& description, NightfallTextColor color) {
    description_->setColor(color);
    description_->setContent(description);
    description_->setVisible(!description.isEmpty());
    control_->setAccessibleDescription(description);
}

void NightfallSettingsRow::setElidedDescription(const QString& description) {
    description_->setWordWrap(false);
    description_->setElision(Qt::ElideMiddle);
    setDescription(description);
}

} // namespace rewindle
