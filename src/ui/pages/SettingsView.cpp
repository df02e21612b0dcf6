#include "ui/pages/SettingsView.h"

#include "base/CaptureGain.h"
#include "ui/status/SessionTexts.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

#include <algorithm>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
using Metrics = NightfallMetrics;
using Row = NightfallSettingsRow;
constexpr int kRefreshMs = 1000; // the device's name comes a moment after the device

template <class Values, class Value>
int indexIn(const Values& values, Value value) {
    return static_cast<int>(std::ranges::find(values, value) - values.begin());
}

QWidget* makeButtonRow(std::initializer_list<NightfallButton*> buttons) {
    auto* const box = new QWidget;
    auto* const row = new QHBoxLayout(box);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(2);
    for (auto* const button : buttons)
        row->addWidget(button);
    row->addStretch();
    return box;
}

std::vector<NightfallSwatchPicker::Swatch> flavorSwatches(NightfallWaveformAccent accent) {
    std::vector<NightfallSwatchPicker::Swatch> swatches;
    for (const auto flavor : kAllNightfallFlavors) {
        const auto palette = NightfallPalette::of(flavor, accent);
        const auto colors = WaveformTheme::of(flavor, accent);
        swatches.push_back({fromUtf8(displayName(flavor)), toQColor(colors.background), palette.outline, colors});
    }
    return swatches;
}

std::vector<NightfallSwatchPicker::Swatch> accentSwatches(NightfallFlavor flavor) {
    std::vector<NightfallSwatchPicker::Swatch> swatches;
    for (const auto accent : kAllNightfallWaveformAccents) {
        const auto palette = NightfallPalette::of(flavor, accent);
        const auto colors = WaveformTheme::of(flavor, accent);
        QString name = fromUtf8(rawValue(accent));
        name[0] = name[0].toUpper();
        swatches.push_back({name, toQColor(colors.background), palette.outline, colors});
    }
    return swatches;
}

} // namespace

SettingsView::SettingsView(AppSession& session, CaptureControl& control, const NightfallTheme& theme,
                           const Actions& actions, QWidget* parent)
    : QWidget(parent), session_(session), settings_(session.settingsManager()), themes_(session.themeManager()),
      theme_(theme), actions_(actions) {
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(Metrics::huge, Metrics::huge, Metrics::huge, Metrics::huge);
    column->setSpacing(Metrics::huge);
    for (auto* const section : {makeRecording(), makeClips(), makeAppearance(), makeConsent(), makeGeneral()})
        column->addWidget(section);
    column->addStretch();
    refresh_ =
        new StatusRefresh(*this, control, kRefreshMs, [this](const CaptureStatus& status) { showDevice(status); });
    follow(session.sampler().outputDeviceUID(), [this] { refresh_->refresh(); });
}

/// Shows the value now and after each change.
template <class T>
void SettingsView::follow(const Observable<T>& observable, const std::function<void()>& show) {
    observations_.push_back(observable.observe(show));
    show();
}

NightfallSettingsSection* SettingsView::makeRecording() {
    QStringList labels;
    for (const auto duration : kAllRecordingDurations)
        labels.push_back(fromUtf8(label(duration)));
    auto* const duration = new NightfallChoice(theme_, labels);
    connect(duration, &NightfallChoice::chosen, this, [this](int index) {
        settings_.setRecordingDuration(kAllRecordingDurations.at(static_cast<std::size_t>(index)));
    });
    follow(settings_.recordingDuration(), [this, duration] {
        duration->setCurrent(indexIn(kAllRecordingDurations, settings_.recordingDuration().get()));
    });
    auto* const gain = new NightfallSlider(theme_, CaptureGain::kMaximumDB);
    connect(gain, &NightfallSlider::gainChosen, this, [this](float gainDB) { settings_.setCaptureGainDB(gainDB); });
    follow(settings_.captureGainDB(), [this, gain] { gain->setGainDB(settings_.captureGainDB().get()); });
    auto* const meter = new NightfallToggle(theme_);
    connect(meter, &QAbstractButton::clicked, this, [this](bool on) { settings_.setShowLevelMeter(on); });
    follow(settings_.showLevelMeter(), [this, meter] { meter->setChecked(settings_.showLevelMeter().get()); });

    auto* const section = new NightfallSettingsSection(theme_, u"Recording"_s);
    auto* const durationRow = new Row(theme_, u"Keep the last"_s, duration, Row::Control::below);
    durationRow->setDescription(u"What is older than this is forgotten."_s);
    section->addRow(durationRow);
    gainRow_ = new Row(theme_, u"Gain trim"_s, gain, Row::Control::beside);
    section->addRow(gainRow_);
    auto* const meterRow = new Row(theme_, u"Level meter"_s, meter, Row::Control::beside);
    meterRow->setDescription(u"Shows the level of both channels along the bottom of the window."_s);
    section->addRow(meterRow);
    showDevice({});
    return section;
}

void SettingsView::showDevice(const CaptureStatus& status) {
    const auto& name = status.deviceDescription.empty() ? status.deviceUID : status.deviceDescription;
    gainRow_->setElidedDescription(name.empty() ? u"No output is in use."_s : u"For "_s + fromUtf8(name));
}

NightfallSettingsSection* SettingsView::makeClips() {
    using Kind = NightfallButton::Kind;
    auto* const choose = new NightfallButton(theme_, Kind::secondary, u"Choose…"_s);
    defaultFolder_ = new NightfallButton(theme_, Kind::secondary, u"Default"_s);
    auto* const reveal = new NightfallButton(theme_, Kind::secondary, inWords("Show in Finder"));
    choose->setAccessibleDescription(u"Choose the folder for exported clips"_s);
    defaultFolder_->setAccessibleDescription(u"Go back to the default folder for clips"_s);
    connect(choose, &QPushButton::clicked, this, [this] { settings_.chooseExportDirectory(); });
    connect(defaultFolder_, &QPushButton::clicked, this, [this] { settings_.setExportDirectoryToDefault(); });
    connect(reveal, &QPushButton::clicked, this, [this] { settings_.revealExportDirectoryInFinder(); });

    auto* const section = new NightfallSettingsSection(theme_, u"Clips"_s);
    folderRow_ =
        new Row(theme_, u"Export folder"_s, makeButtonRow({choose, defaultFolder_, reveal}), Row::Control::below);
    section->addRow(folderRow_);
    follow(settings_.customExportDirectoryPath(), [this] { showFolder(); });
    return section;
}

void SettingsView::showFolder() {
    folderRow_->setElidedDescription(fromUtf8(settings_.exportDirectory().native()));
    defaultFolder_->setEnabled(settings_.usesCustomExportDirectory());
}

NightfallSettingsSection* SettingsView::makeAppearance() {
    flavors_ = new NightfallSwatchPicker(theme_, flavorSwatches(themes_.waveformAccent().get()));
    accents_ = new NightfallSwatchPicker(theme_, accentSwatches(themes_.flavor().get()));
    connect(flavors_, &NightfallSwatchPicker::chosen, this,
            [this](int index) { themes_.setFlavor(kAllNightfallFlavors.at(static_cast<std::size_t>(index))); });
    connect(accents_, &NightfallSwatchPicker::chosen, this, [this](int index) {
        themes_.setWaveformAccent(kAllNightfallWaveformAccents.at(static_cast<std::size_t>(index)));
    });
    connect(&theme_, &NightfallTheme::changed, this, [this] { showTheme(); });
    showTheme();

    auto* const section = new NightfallSettingsSection(theme_, u"Appearance"_s);
    section->addRow(new Row(theme_, u"Flavor"_s, flavors_, Row::Control::below));
    section->addRow(new Row(theme_, u"Accent"_s, accents_, Row::Control::below));
    return section;
}

void SettingsView::showTheme() {
    flavors_->setSwatches(flavorSwatches(themes_.waveformAccent().get()));
    accents_->setSwatches(accentSwatches(themes_.flavor().get()));
    flavors_->setCurrent(indexIn(kAllNightfallFlavors, themes_.flavor().get()));
    accents_->setCurrent(indexIn(kAllNightfallWaveformAccents, themes_.waveformAccent().get()));
}

NightfallSettingsSection* SettingsView::makeConsent() {
    allow_ = new NightfallButton(theme_, NightfallButton::Kind::primary, u"Allow"_s);
    revoke_ = new NightfallButton(theme_, NightfallButton::Kind::secondary, u"Revoke"_s);
    allow_->setAccessibleDescription(u"Let rewindle hear what this computer plays"_s);
    revoke_->setAccessibleDescription(u"Stop rewindle from hearing what this computer plays"_s);
    connect(allow_, &QPushButton::clicked, this, [this] { actions_.setConsent(true); });
    connect(revoke_, &QPushButton::clicked, this, [this] { actions_.setConsent(false); });

    auto* const section = new NightfallSettingsSection(theme_, u"System Audio Recording"_s);
    consentRow_ = new Row(theme_, u"rewindle"_s, makeButtonRow({allow_, revoke_}), Row::Control::beside);
    section->addRow(consentRow_);
    follow(session_.permission().state(), [this] { showConsent(); });
    return section;
}

void SettingsView::showConsent() {
    const auto state = session_.permission().state().get();
    const bool isGranted = state == AudioCaptureAccessState::granted;
    switch (state) {
    case AudioCaptureAccessState::granted:
        consentRow_->setDescription(u"May hear what this computer plays."_s);
        break;
    case AudioCaptureAccessState::needsSystemSettings:
        consentRow_->setDescription(u"May not hear what this computer plays. Nothing is captured."_s);
        break;
    case AudioCaptureAccessState::firstRun:
    case AudioCaptureAccessState::checking:
        consentRow_->setDescription(u"Has not been allowed to hear what this computer plays yet."_s);
        break;
    }
    const bool hadFocus = allow_->hasFocus() || revoke_->hasFocus();
    allow_->setVisible(!isGranted);
    revoke_->setVisible(isGranted);
    if (hadFocus) focusConsent(); // not whatever comes next on the page
}

void SettingsView::focusConsent() {
    (allow_->isHidden() ? revoke_ : allow_)->setFocus(Qt::TabFocusReason);
}

NightfallSettingsSection* SettingsView::makeGeneral() {
    auto* const login = new NightfallToggle(theme_);
    connect(login, &QAbstractButton::clicked, this, [this](bool on) { settings_.setLaunchAtLogin(on); });
    follow(settings_.launchAtLogin(), [this, login] { login->setChecked(settings_.launchAtLogin().get()); });

    auto* const section = new NightfallSettingsSection(theme_, u"General"_s);
    auto* const row = new Row(theme_, u"Start at login"_s, login, Row::Control::beside);
    section->addRow(row);
    follow(settings_.loginItemProblem(), [this, row] {
        const auto& problem = settings_.loginItemProblem().get();
        if (!problem.empty()) return row->setDescription(fromUtf8(problem), &NightfallPalette::dangerText);
        row->setDescription(u"So that the last minutes are always there."_s);
    });
    return section;
}

} // namespace rewindle
