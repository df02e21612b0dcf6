#include "ui/pages/RootView.h"

#include <QPainter>
#include <QPixmap>
#include <QStackedLayout>
#include <QStyle>
#include <QVariantAnimation>

namespace rewindle {
namespace {

constexpr int kFadeMs = 220;

/// A picture that fades away and then deletes itself.
class FadingPicture final : public QWidget {
public:
    FadingPicture(QPixmap picture, QWidget* parent) : QWidget(parent), picture_(std::move(picture)) {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        setGeometry(parent->rect());
        opacity_.setStartValue(1.0);
        opacity_.setEndValue(0.0);
        opacity_.setDuration(kFadeMs);
        connect(&opacity_, &QVariantAnimation::valueChanged, this, [this] { update(); });
        connect(&opacity_, &QVariantAnimation::finished, this, &QObject::deleteLater);
        show();
        raise();
        opacity_.start();
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        painter.setOpacity(opacity_.currentValue().toReal());
        painter.drawPixmap(0, 0, picture_);
    }

private:
    QPixmap picture_;
    QVariantAnimation opacity_;
};

} // namespace

RootView::RootView(AppSession& session, DefaultsStore& defaults, const NightfallTheme& theme,
                   WaveformPage makeWaveform)
    : session_(session), defaults_(defaults), theme_(theme), makeWaveform_(std::move(makeWaveform)),
      showOnboarding_(!defaults.flag(kOnboardingKey)), pages_(new QStackedLayout(this)) {
    observation_ = session_.permission().state().observe([this] { showPage(); });
    showPage();
}

template <class Page, class Make>
Page* RootView::makeOnce(Page*& page, Make make) {
    if (!page) {
        page = make();
        pages_->addWidget(page);
    }
    return page;
}

QWidget* RootView::page() {
    if (showOnboarding_) {
        const bool isNew = onboarding_ == nullptr;
        makeOnce(onboarding_, [this] { return new OnboardingView(theme_); });
        if (isNew) connect(onboarding_, &OnboardingView::dismissed, this, [this] { dismissOnboarding(); });
        return onboarding_;
    }
    if (session_.permission().isPresumedGranted()) return makeOnce(waveform_, makeWaveform_);
    return makeOnce(permission_, [this] { return new PermissionView(session_.permission(), theme_); });
}

void RootView::showPage() {
    QWidget* const next = page();
    pages_->setCurrentWidget(next);
    if (next->focusProxy()) next->setFocus();
}

void RootView::dismissOnboarding() {
    defaults_.set(kOnboardingKey, true);
    const QPixmap before = grab();
    showOnboarding_ = false;
    showPage();
    onboarding_->deleteLater();
    onboarding_ = nullptr;
    if (isVisible() && style()->styleHint(QStyle::SH_Widget_Animation_Duration, nullptr, this) > 0)
        expandToWaveform(before);
}

void RootView::expandToWaveform(const QPixmap& before) {
    isExpandingToWaveform_ = true;
    auto* const picture = new FadingPicture(before, this);
    connect(picture, &QObject::destroyed, this, [this] { isExpandingToWaveform_ = false; });
}

} // namespace rewindle
