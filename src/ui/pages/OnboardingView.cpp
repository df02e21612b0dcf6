#include "ui/pages/OnboardingView.h"

#include "ui/components/Illustration.h"
#include "ui/components/NightfallLabel.h"
#include "ui/components/NightfallPaint.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
using Metrics = NightfallMetrics;
constexpr int kWideEnough = 1000, kWidestPanel = 420;

/// A picture, a heading and a few lines.
QWidget* makePanel(const NightfallTheme& theme, Illustration::Subject subject, const QString& title,
                   const QString& text) {
    auto* const panel = new QWidget;
    panel->setMaximumWidth(kWidestPanel);
    auto* const heading = new NightfallLabel(theme, NightfallText::heading);
    heading->setContent(title);
    auto* const lines = new NightfallLabel(theme, NightfallText::body, &NightfallPalette::textSecondary);
    lines->setContent(text);
    lines->setWordWrap(true);
    auto* const texts = new QVBoxLayout;
    texts->setContentsMargins(0, Metrics::tight, 0, 0);
    texts->setSpacing(Metrics::tight);
    texts->addWidget(heading);
    texts->addWidget(lines);
    texts->addStretch();
    auto* const row = new QHBoxLayout(panel);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(Metrics::large);
    row->addWidget(new Illustration(theme, subject), 0, Qt::AlignTop);
    row->addLayout(texts, 1);
    return panel;
}

} // namespace

/// Which of several pages is shown.
class PageDots final : public QWidget {
public:
    PageDots(const NightfallTheme& theme, std::size_t pages) : theme_(theme), pages_(pages) {
        setFixedSize(static_cast<int>(pages) * kPitch, kPitch);
        connect(&theme, &NightfallTheme::changed, this, [this] { update(); });
    }
    void setPage(std::size_t page) {
        page_ = page;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        for (std::size_t page = 0; page < pages_; ++page) {
            painter.setBrush(page == page_ ? theme_.palette().accent : theme_.palette().controlPressed);
            painter.drawEllipse(QPointF((static_cast<double>(page) + 0.5) * kPitch, kPitch / 2.0), 3.5, 3.5);
        }
    }

private:
    static constexpr int kPitch = 14;
    const NightfallTheme& theme_;
    std::size_t pages_;
    std::size_t page_ = 0;
};

OnboardingView::OnboardingView(const NightfallTheme& theme, QWidget* parent)
    : QWidget(parent), skip_(new NightfallButton(theme, NightfallButton::Kind::quiet, u"Skip"_s)),
      next_(new NightfallButton(theme, NightfallButton::Kind::primary, u"Get started"_s)) {
    using Subject = Illustration::Subject;
    panels_ = {
        makePanel(theme, Subject::rewind, u"Heard something good?"_s,
                  u"rewindle always keeps the last minutes of what this computer plays, so you have it already."_s),
        makePanel(theme, Subject::memory, u"It stays in memory"_s,
                  u"Nothing is written to the disk until you say so, and no microphone is ever recorded."_s),
        makePanel(theme, Subject::save, u"Keep what you like"_s,
                  u"Press Save, or Ctrl+S, and the audio becomes a WAV file in your clips folder."_s)};
    dots_ = new PageDots(theme, panels_.size());
    next_->setFixedWidth(next_->sizeHint().width());
    connect(skip_, &QPushButton::clicked, this, &OnboardingView::dismissed);
    connect(next_, &QPushButton::clicked, this, [this] { goOn(); });

    row_ = new QHBoxLayout;
    row_->setSpacing(2 * Metrics::large);
    row_->addStretch(0);
    for (auto* const panel : panels_)
        row_->addWidget(panel, 8);
    row_->addStretch(1);
    foot_ = new QHBoxLayout;
    foot_->setSpacing(Metrics::small);
    foot_->addWidget(dots_);
    foot_->addStretch(1);
    foot_->addWidget(skip_);
    foot_->addWidget(next_);
    foot_->addStretch(0);
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(Metrics::huge, Metrics::large, Metrics::huge, Metrics::medium);
    column->setSpacing(Metrics::small);
    column->addStretch(1);
    column->addLayout(row_);
    column->addStretch(1);
    column->addLayout(foot_);
    column->addStretch(1);
    setFocusProxy(next_);
    showPanels();
}

bool OnboardingView::isWide() const {
    return width() >= kWideEnough;
}

void OnboardingView::showPanels() {
    for (std::size_t index = 0; index < panels_.size(); ++index)
        panels_[index]->setVisible(isWide() || index == page_);
    dots_->setVisible(!isWide());
    dots_->setPage(page_);
    row_->setStretch(0, isWide() ? 1 : 0); // all in the middle, or dots at the left and buttons at the right
    foot_->setStretch(foot_->count() - 1, isWide() ? 1 : 0);
    skip_->setVisible(!isAtEnd());
    next_->setText(isAtEnd() ? u"Get started"_s : u"Next"_s);
}

void OnboardingView::goOn() {
    if (isAtEnd()) {
        Q_EMIT dismissed();
        return;
    }
    ++page_;
    showPanels();
}

void OnboardingView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    showPanels();
}

} // namespace rewindle
