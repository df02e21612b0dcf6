#include "ui/components/NightfallScrollArea.h"

#include "ui/components/NightfallPaint.h"
#include "ui/components/NightfallSurface.h"

#include <QScrollBar>

#include <algorithm>

namespace rewindle {
namespace {

constexpr int kBarWidth = 12;
constexpr qreal kThumbWidth = 6, kShortestThumb = 24;

class SlimBar final : public QScrollBar {
public:
    explicit SlimBar(const NightfallTheme& theme) : QScrollBar(Qt::Vertical), theme_(theme) {
        setAttribute(Qt::WA_Hover);
        connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
    }
    [[nodiscard]] QSize sizeHint() const override { return {kBarWidth, kBarWidth * 4}; }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        const auto& palette = theme_.palette();
        painter.fillRect(rect(), palette.window);
        const qreal all = maximum() - minimum() + pageStep();
        const qreal length = std::max(kShortestThumb, height() * pageStep() / all);
        const qreal range = maximum() - minimum();
        const qreal top = range > 0 ? (height() - length) * (value() - minimum()) / range : 0;
        NightfallPaint::fillRounded(painter, QRectF((width() - kThumbWidth) / 2.0, top + 2, kThumbWidth, length - 4),
                                    kThumbWidth / 2, underMouse() ? palette.outline : palette.controlPressed);
    }

private:
    const NightfallTheme& theme_;
};

} // namespace

NightfallScrollArea::NightfallScrollArea(const NightfallTheme& theme, QWidget* parent) : QScrollArea(parent) {
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBar(new SlimBar(theme));
    setFocusPolicy(Qt::NoFocus);
    fillWithSurface(*viewport(), theme, &NightfallPalette::window);
}

} // namespace rewindle
