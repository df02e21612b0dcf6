#include "ui/WaveformWindowView.h"

#include "ui/SessionTexts.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QPointer>
#include <QVBoxLayout>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
using Metrics = NightfallMetrics;
constexpr int kRefreshMs = 100;

} // namespace

WaveformWindowView::WaveformWindowView(AppSession& session, CaptureControl& control, const NightfallTheme& theme,
                                       const Actions& actions, QWidget* parent)
    : QWidget(parent), session_(session), control_(control), theme_(theme), actions_(actions),
      banner_(new NightfallBanner(theme)), retained_(new RetainedAudioView(theme)), strip_(new LevelStrip(theme)) {
    auto* const body = new QVBoxLayout;
    body->setContentsMargins(Metrics::large, 0, Metrics::large, Metrics::medium);
    body->setSpacing(Metrics::small);
    body->addWidget(banner_);
    body->addWidget(retained_, 1);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addLayout(body, 1);
    column->addWidget(strip_);

    refresh_ =
        new StatusRefresh(*this, control, kRefreshMs, [this](const CaptureStatus& status) { showStatus(status); });
    observe();
    showLevelMeter();
    status_.durationSeconds = seconds(session.settingsManager().recordingDuration().get());
    showStatus(status_);
}

QWidget* WaveformWindowView::makeHeader() {
    auto* const header = new QWidget;
    dot_ = new StatusDot(theme_);
    state_ = new NightfallLabel(theme_, NightfallText::heading);
    state_->setElision(Qt::ElideRight);
    notice_ = new NightfallLabel(theme_, NightfallText::caption, &NightfallPalette::textSecondary);
    notice_->setElision(Qt::ElideMiddle);
    notice_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Preferred);
    reveal_ = new NightfallButton(theme_, NightfallButton::Kind::link, u"Reveal"_s);
    reveal_->setAccessibleName(u"Reveal the saved clip in the file manager"_s);
    notice_->setFixedHeight(reveal_->sizeHint().height()); // the same with and without the button beside it
    save_ = new NightfallButton(theme_, NightfallButton::Kind::primary, u"Save"_s, NightfallGlyph::save);
    save_->setText(u"Saving…"_s); // its width stays that of its longer text
    save_->setFixedWidth(save_->sizeHint().width());
    save_->setAccessibleDescription(u"Saves all audio in memory as a clip"_s);
    settings_ = new NightfallButton(theme_, NightfallButton::Kind::quiet, {}, NightfallGlyph::gear);
    settings_->setAccessibleName(u"Settings"_s);
    settings_->setToolTip(u"Settings (Ctrl+,)"_s);
    connect(reveal_, &QPushButton::clicked, this, [this] {
        if (saved_) actions_.revealFile(*saved_);
    });
    connect(save_, &QPushButton::clicked, this, [this] { saveAll(); });
    connect(settings_, &QPushButton::clicked, this, [this] { actions_.openSettings(); });

    auto* const second = new QHBoxLayout;
    second->setSpacing(Metrics::tight);
    second->addWidget(notice_);
    second->addWidget(reveal_);
    second->addStretch(1);
    auto* const texts = new QVBoxLayout;
    texts->setSpacing(0);
    texts->addStretch();
    texts->addWidget(state_);
    texts->addLayout(second);
    texts->addStretch();
    auto* const row = new QHBoxLayout(header);
    row->setContentsMargins(Metrics::large, 6, Metrics::large - Metrics::ringMargin, 6);
    row->setSpacing(Metrics::small);
    row->addWidget(dot_);
    row->addLayout(texts, 1);
    row->addWidget(save_);
    row->addWidget(settings_);
    return header;
}

void WaveformWindowView::observe() {
    auto& settings = session_.settingsManager();
    const auto showError = [this] {
        banner_->setMessage(fromUtf8(session_.captureErrorMessage().get().value_or(std::string())));
    };
    observations_.push_back(session_.captureErrorMessage().observe(showError));
    observations_.push_back(settings.showLevelMeter().observe([this] { showLevelMeter(); }));
    const auto refresh = [this] { refresh_->refresh(); };
    observations_.push_back(session_.sampler().isRunning().observe(refresh));
    observations_.push_back(session_.sampler().outputDeviceUid().observe(refresh));
    observations_.push_back(session_.sampler().ringBufferRevision().observe(refresh));
    showError();
}

void WaveformWindowView::showStatus(const CaptureStatus& status) {
    status_ = status;
    const auto state = listeningState(status, session_.sampler().isRunning().get());
    dot_->setState(state);
    state_->setContent(listeningText(state, status));
    retained_->setRetained(status.retainedSeconds, status.durationSeconds);
    retained_->setLevels(status.displayDb);
    strip_->setLevels(status.displayDb);
    showNotice();
    updateSaveButton();
}

void WaveformWindowView::showNotice() {
    QString text = keepingText(status_.durationSeconds);
    if (saved_) text = u"Saved "_s + fromUtf8(saved_->filename().native());
    if (exportErrorMessage_) text = fromUtf8(*exportErrorMessage_);
    notice_->setColor(exportErrorMessage_ ? &NightfallPalette::dangerText : &NightfallPalette::textSecondary);
    notice_->setContent(text);
    reveal_->setVisible(saved_.has_value());
}

void WaveformWindowView::showLevelMeter() {
    const bool isShown = session_.settingsManager().showLevelMeter().get();
    strip_->setVisible(isShown);
    retained_->setLevelsVisible(!isShown);
}

void WaveformWindowView::updateSaveButton() {
    save_->setText(isSaving_ ? u"Saving…"_s : u"Save"_s);
    save_->setEnabled(!isSaving_ && status_.retainedSeconds >= kShortestClipSeconds);
}

void WaveformWindowView::saveAll() {
    if (!save_->isEnabled()) return;
    isSaving_ = true;
    saveHadFocus_ = save_->hasFocus();
    saved_.reset();
    exportErrorMessage_.reset();
    showNotice();
    updateSaveButton();
    control_.exportAll({}, [self = QPointer(this)](const Result<std::filesystem::path>& outcome) {
        if (self) self->onSaved(outcome);
    });
}

void WaveformWindowView::onSaved(const Result<std::filesystem::path>& outcome) {
    isSaving_ = false;
    if (outcome) {
        saved_ = outcome.value();
    } else {
        exportErrorMessage_ = outcome.error().message;
    }
    showNotice();
    updateSaveButton();
    if (saveHadFocus_) save_->setFocus();
    QAccessibleEvent alert(notice_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void WaveformWindowView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous()) saved_.reset(); // old news when the window is shown again
    showNotice();
}

} // namespace rewindle
