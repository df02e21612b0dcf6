#include "ui/components/NightfallSwatchPicker.h"

#include "ui/components/NightfallIcons.h"
#include "ui/components/NightfallOption.h"
#include "ui/components/NightfallPaint.h"

#include <QHBoxLayout>
#include <QLinearGradient>

#include <algorithm>
#include <cassert>

namespace rewindle {
namespace {

using Metrics = NightfallMetrics;
constexpr int kPictureWidth = 112, kPictureHeight = 56, kNameHeight = 24, kBars = 13;

class SwatchOption final : public NightfallOption {
public:
    SwatchOption(const NightfallTheme& theme, NightfallSwatchPicker::Swatch swatch, QWidget* parent)
        : NightfallOption(theme, swatch.name, parent), swatch_(std::move(swatch)) {
        setFont(NightfallTheme::font(NightfallText::caption));
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }
    void setSwatch(const NightfallSwatchPicker::Swatch& swatch) {
        swatch_ = swatch;
        update();
    }
    [[nodiscard]] QSize sizeHint() const override {
        const int name = fontMetrics().horizontalAdvance(swatch_.name) + Metrics::small;
        return {std::max(kPictureWidth, name) + 2 * Metrics::ringMargin,
                kPictureHeight + kNameHeight + Metrics::ringMargin};
    }
    [[nodiscard]] QSize minimumSizeHint() const override { return {sizeHint().width() * 3 / 4, sizeHint().height()}; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const auto& palette = theme().palette();
        const qreal inset = Metrics::ringMargin;
        const QRectF picture(inset, inset, width() - 2 * inset, kPictureHeight);
        NightfallPaint::fillRounded(painter, picture, Metrics::controlRadius, swatch_.surface);
        paintWaveform(painter, picture.adjusted(14, 11, -14, -11));
        const qreal hairline = NightfallPaint::hairline(painter);
        NightfallPaint::strokeRounded(painter, picture, Metrics::controlRadius,
                                      isChecked()    ? palette.accent
                                      : underMouse() ? palette.outline
                                                     : swatch_.edge,
                                      isChecked() ? 2 : hairline);
        painter.setPen(isChecked() ? palette.text : palette.textSecondary);
        painter.setFont(isChecked() ? checkedFont() : font());
        painter.drawText(QRectF(0, picture.bottom() + 2, width(), kNameHeight - 2), Qt::AlignCenter, swatch_.name);
        if (showsFocus()) NightfallPaint::focusRing(painter, picture, Metrics::controlRadius, palette.focusRing);
    }

private:
    void paintWaveform(QPainter& painter, const QRectF& rect) const {
        QLinearGradient gradient(rect.topLeft(), rect.bottomLeft());
        gradient.setColorAt(0, toQColor(swatch_.colors.waveformTop));
        gradient.setColorAt(1, toQColor(swatch_.colors.waveformBottom));
        paintWaveformBars(painter, rect, gradient, 0, kBars);
    }
    [[nodiscard]] QFont checkedFont() const {
        QFont strong = font();
        strong.setWeight(QFont::DemiBold);
        return strong;
    }
    NightfallSwatchPicker::Swatch swatch_;
};

} // namespace

NightfallSwatchPicker::NightfallSwatchPicker(const NightfallTheme& theme, const std::vector<Swatch>& swatches,
                                             QWidget* parent)
    : QWidget(parent) {
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(Metrics::small);
    for (std::size_t index = 0; index < swatches.size(); ++index) {
        auto* const option = new SwatchOption(theme, swatches[index], this);
        connect(option, &QAbstractButton::clicked, this, [this, index] { Q_EMIT chosen(static_cast<int>(index)); });
        row->addWidget(option, 1);
        options_.push_back(option);
    }
}

void NightfallSwatchPicker::setSwatches(const std::vector<Swatch>& swatches) {
    assert(swatches.size() == options_.size());
    for (std::size_t index = 0; index < swatches.size(); ++index)
        static_cast<SwatchOption*>(options_[index])->setSwatch(swatches[index]);
}

void NightfallSwatchPicker::setCurrent(int index) {
    options_.at(static_cast<std::size_t>(index))->setChecked(true);
}

} // namespace rewindle
