#include "ui/components/NightfallSettingsSection.h"

#include "ui/components/NightfallPaint.h"

#include <QVBoxLayout>

namespace rewindle {
namespace {

using Metrics = NightfallMetrics;

/// A surface that stands out from the window, with lines between what is stacked on it.
class Card final : public QWidget {
public:
    explicit Card(const NightfallTheme& theme) : theme_(theme) {
        connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const auto& palette = theme_.palette();
        const qreal line = NightfallPaint::hairline(painter);
        NightfallPaint::fillRounded(painter, rect(), Metrics::cardRadius, palette.card);
        NightfallPaint::strokeRounded(painter, rect(), Metrics::cardRadius, palette.hairline, line);
        painter.setRenderHint(QPainter::Antialiasing, false);
        for (int index = 1; index < layout()->count(); ++index) {
            const QRectF row = layout()->itemAt(index)->geometry();
            const QRectF separator(row.left() + Metrics::large, row.top(), row.width() - 2 * Metrics::large, line);
            painter.fillRect(NightfallPaint::snapped(painter, separator), palette.hairline);
        }
    }

private:
    const NightfallTheme& theme_;
};

} // namespace

NightfallSettingsSection::NightfallSettingsSection(const NightfallTheme& theme, const QString& title, QWidget* parent)
    : QWidget(parent) {
    auto* const heading = new NightfallLabel(theme, NightfallText::heading);
    heading->setContent(title);
    heading->setContentsMargins(Metrics::tight, 0, 0, 0);
    auto* const card = new Card(theme);
    rows_ = new QVBoxLayout(card);
    rows_->setContentsMargins(0, Metrics::tight, 0, Metrics::tight);
    rows_->setSpacing(0);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(Metrics::small);
    column->addWidget(heading);
    column->addWidget(card);
}

void NightfallSettingsSection::addRow(NightfallSettingsRow* row) {
    rows_->addWidget(row);
}

} // namespace rewindle
