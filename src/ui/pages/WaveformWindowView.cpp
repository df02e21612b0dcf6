#include "ui/pages/WaveformWindowView.h"

#include "ui/status/SessionTexts.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QVBoxLayout>

#include <utility>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
using Metrics = NightfallMetrics;
constexpr int kRefreshMs = 100;
constexpr int kSavedIsNewsMs = 30'000;    // then how much is held is shown again
constexpr int kLeastWidthForLevels = 640; // points; below, the words need the place more

} // namespace

WaveformWindowView::WaveformWindowView(AppSession& session, CaptureControl& control, const WaveformServices& waveform,
                                       const std::shared_ptr<WindowAnimationDriver>& driver,
                                       const NightfallTheme& theme, const Actions& actions)
    : session_(session), theme_(theme), actions_(actions), banner_(new NightfallBanner(theme)),
      levels_(new LevelFigures(theme)), waveform_(new WaveformViewRepresentable(session, waveform, driver, theme)),
      strip_(new LevelStrip(theme)) {
    auto* const news = new QVBoxLayout;
    news->setContentsMargins(Metrics::large, 0, Metrics::large, 0);
    news->addWidget(banner_);

    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addLayout(news);
    column->addWidget(waveform_, 1);
    column->addWidget(strip_);
    auto& view = waveform_->view();
    view.onSaveStarted = [this] { onSaveStarted(); };
    view.onExportProgress = [this](double fraction) { onExportProgress(fraction); };
    view.onSaveEnded = [this](const auto& outcome) { onSaveEnded(outcome); };
    view.onExportFailure = [this](const auto& failure) { onExportFailure(failure); };

    refresh_ =
        new StatusRefresh(*this, control, kRefreshMs, [this](const CaptureStatus& status) { showStatus(status); });
    savedIsOld_.setInterval(kSavedIsNewsMs);
    connect(&savedIsOld_, &QTimer::timeout, this, [this] {
        if (reveal_->hasFocus() || reveal_->underMouse()) return; // somebody is about to press it
        savedIsOld_.stop();
        saved_.reset();
        showNotice();
    });
    observe(driver);
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
    save_->setAccessibleDescription(u"Saves the selection, or all audio in memory, as a clip"_s);
    save_->setToolTip(u"Save the selection, or everything (Ctrl+S)"_s);
    settings_ = new NightfallButton(theme_, NightfallButton::Kind::quiet, {}, NightfallGlyph::gear);
    settings_->setAccessibleName(u"Settings"_s);
    settings_->setToolTip(u"Settings (Ctrl+,)"_s);
    for (auto* const button : {reveal_, save_, settings_})
        button->setFocusPolicy(Qt::TabFocus); // a click leaves the keys to the waveform
    connect(reveal_, &QPushButton::clicked, this, [this] {
        if (saved_) actions_.revealFile(*saved_);
    });
    connect(save_, &QPushButton::clicked, this, [this] { save(); });
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
    row->addWidget(levels_);
    row->addSpacing(Metrics::tight);
    row->addWidget(save_);
    row->addWidget(settings_);
    return header;
}

void WaveformWindowView::observe(const std::shared_ptr<WindowAnimationDriver>& driver) {
    auto& settings = session_.settingsManager();
    const auto showError = [this] {
        banner_->setMessage(fromUtf8(session_.captureErrorMessage().get().value_or(std::string())));
    };
    observations_.push_back(session_.captureErrorMessage().observe(showError));
    observations_.push_back(settings.showLevelMeter().observe([this] { showLevelMeter(); }));
    const auto refresh = [this] { refresh_->refresh(); };
    observations_.push_back(session_.sampler().isRunning().observe(refresh));
    observations_.push_back(driver->isRunning().observe(
        [this, &isRunning = driver->isRunning()] { refresh_->setCovered(!isRunning.get()); }));
    observations_.push_back(session_.sampler().outputDeviceUID().observe(refresh));
    observations_.push_back(session_.sampler().ringBufferRevision().observe(refresh));
    showError();
}

void WaveformWindowView::showStatus(const CaptureStatus& status) {
    status_ = status;
    const bool isStarting = session_.permission().state().get() == AudioCaptureAccessState::checking;
    const auto state = listeningState(status, isStarting || session_.sampler().isRunning().get());
    dot_->setState(state);
    state_->setContent(listeningText(state, status));
    levels_->setLevels(status.displayDB);
    strip_->setLevels(status.displayDB);
    showNotice();
    updateSaveButton();
}

void WaveformWindowView::showNotice() {
    QString text = keepingText(status_);
    if (savedPercent_) text = u"Saving… %1 %"_s.arg(*savedPercent_);
    if (saved_) text = u"Saved "_s + fromUtf8(saved_->filename().native());
    if (exportErrorMessage_) text = fromUtf8(*exportErrorMessage_);
    notice_->setColor(exportErrorMessage_ ? &NightfallPalette::dangerText : &NightfallPalette::textSecondary);
    notice_->setContent(text);
    reveal_->setVisible(saved_.has_value());
}

void WaveformWindowView::showLevelMeter() {
    const bool isShown = session_.settingsManager().showLevelMeter().get();
    strip_->setVisible(isShown);
    levels_->setVisible(!isShown && width() >= kLeastWidthForLevels);
}

void WaveformWindowView::updateSaveButton() {
    const bool isSaving = waveform_->view().isSaving();
    save_->setText(isSaving ? u"Saving…"_s : u"Save"_s);
    save_->setEnabled(!isSaving && status_.retainedSeconds >= kShortestClipSeconds);
}

void WaveformWindowView::onSaveStarted() {
    saveHadFocus_ |= save_->hasFocus();
    saved_.reset();
    exportErrorMessage_.reset();
    showNotice();
    updateSaveButton();
}

void WaveformWindowView::onSaveEnded(const ClipSaver::Outcome& outcome) {
    savedPercent_.reset();
    if (outcome) saved_ = outcome.value();
    savedIsOld_.start();
    updateSaveButton();
    if (!waveform_->view().isSaving() && std::exchange(saveHadFocus_, false)) save_->setFocus();
}

void WaveformWindowView::onExportProgress(double fraction) {
    savedPercent_ = static_cast<int>(fraction * 100);
    showNotice();
}

void WaveformWindowView::onExportFailure(const std::optional<WaveformExportError>& failure) {
    exportErrorMessage_ = failure ? std::optional(failure->message()) : std::nullopt;
    if (failure) saved_.reset();
    showNotice();
    QAccessibleEvent alert(notice_, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void WaveformWindowView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    showLevelMeter();
}

void WaveformWindowView::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    if (!event->spontaneous()) saved_.reset(); // old news when the window is shown again
    showNotice();
}

} // namespace rewindle
