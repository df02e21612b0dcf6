#include "ui/components/NightfallChoice.h"

#include "ui/components/NightfallOption.h"
#include "ui/components/NightfallPaint.h"

#include <QHBoxLayout>

#include <algorithm>

namespace rewindle {
namespace {

using Metrics = NightfallMetrics;
constexpr int kSegmentHeight = 44, kSidePadding = 6;

class Segment final : public NightfallOption {
public:
    Segment(const NightfallTheme& theme, const QString& label, QWidget* parent)
        : NightfallOption(theme, label, parent), figure_(label.section(u' ', 0, 0)), unit_(label.section(u' ', 1)) {
        setFont(NightfallTheme::font(NightfallText::caption));
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }
    [[nodiscard]] QSize sizeHint() const override {
        const QFontMetrics figure(figureFont());
        const int text = std::max(figure.horizontalAdvance(figure_), fontMetrics().horizontalAdvance(unit_));
        return {text + 2 * kSidePadding + 2 * Metrics::ringMargin, kSegmentHeight};
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const auto& palette = theme().palette();
        const qreal inset = Metrics::ringMargin;
        const QRectF body = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
        constexpr qreal kRadius = Metrics::controlRadius - 1;
        if (isChecked())
            NightfallPaint::fillRounded(painter, body, kRadius, palette.accent);
        else if (underMouse())
            NightfallPaint::fillRounded(painter, body, kRadius, palette.controlHover);
        const QRectF upper(body.left(), body.top() + 2, body.width(), body.height() / 2);
        painter.setFont(figureFont());
        painter.setPen(isChecked() ? palette.onAccent : palette.text);
        painter.drawText(upper, Qt::AlignCenter, figure_);
        painter.setFont(font());
        painter.setPen(isChecked() ? palette.onAccent : palette.textSecondary);
        painter.drawText(upper.translated(0, body.height() / 2 - 3), Qt::AlignCenter, unit_);
        if (showsFocus()) NightfallPaint::focusRing(painter, body, kRadius, palette.focusRing);
    }

private:
    static QFont figureFont() { return NightfallTheme::font(NightfallText::heading); }
    QString figure_, unit_;
};

} // namespace

NightfallChoice::NightfallChoice(const NightfallTheme& theme, const QStringList& labels, QWidget* parent)
    : QWidget(parent), theme_(theme) {
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(Metrics::ringMargin, 0, Metrics::ringMargin, 0);
    row->setSpacing(0);
    for (int index = 0; index < labels.size(); ++index) {
        auto* const segment = new Segment(theme, labels[index], this);
        connect(segment, &QAbstractButton::clicked, this, [this, index] { Q_EMIT chosen(index); });
        row->addWidget(segment, 1);
        segments_.push_back(segment);
    }
    connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
}

void NightfallChoice::setCurrent(int index) {
    segments_.at(static_cast<std::size_t>(index))->setChecked(true);
}

int NightfallChoice::current() const {
    const auto found = std::ranges::find_if(segments_, [](const auto* segment) { return segment->isChecked(); });
    return found == segments_.end() ? -1 : static_cast<int>(found - segments_.begin());
}

void NightfallChoice::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    constexpr qreal kMargin = Metrics::ringMargin;
    NightfallPaint::fillRounded(painter, QRectF(rect()).adjusted(kMargin, 0, -kMargin, 0), Metrics::controlRadius + 2,
                                theme_.palette().control);
}

} // namespace rewindle
