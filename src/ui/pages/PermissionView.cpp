#include "ui/pages/PermissionView.h"

#include "ui/components/Illustration.h"
#include "ui/status/SessionTexts.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

namespace rewindle {
namespace {

using namespace Qt::StringLiterals;
using Metrics = NightfallMetrics;
constexpr int kWidestText = 560;

constexpr std::string_view kAppName = "rewindle";
constexpr std::string_view kRequired = "System audio access is required to capture what your Mac is playing.";
constexpr std::string_view kTapAllow = "Tap Allow when macOS asks.";
constexpr std::string_view kThenRecheck = "under System Audio Recording in System Settings, then tap Recheck.";
constexpr std::string_view kIsEnabled = "is enabled under System Audio Recording, then recheck.";

QString sentences(std::initializer_list<std::string_view> pieces) {
    std::string joined;
    for (const auto piece : pieces)
        joined += (joined.empty() ? "" : " ") + std::string(piece);
    return inWords(joined);
}

QString guidance(AudioCaptureAccessState state, bool isStillOff) {
    if (state == AudioCaptureAccessState::firstRun) return sentences({kRequired, kTapAllow});
    if (isStillOff) return sentences({"Access is still off. Make sure that", kAppName, kIsEnabled});
    return sentences({kRequired, "Enable", kAppName, kThenRecheck});
}

} // namespace

PermissionView::PermissionView(AudioCapturePermissionModel& permission, const NightfallTheme& theme, QWidget* parent)
    : QWidget(parent), permission_(permission), title_(new NightfallLabel(theme, NightfallText::title)),
      text_(new NightfallLabel(theme, NightfallText::body, &NightfallPalette::textSecondary)),
      allow_(new NightfallButton(theme, NightfallButton::Kind::primary, u"Continue"_s)),
      openSettings_(new NightfallButton(theme, NightfallButton::Kind::primary, inWords("Open System Settings"))),
      recheck_(new NightfallButton(theme, NightfallButton::Kind::secondary, u"Recheck"_s)) {
    text_->setWordWrap(true);
    for (auto* const label : {title_, text_}) // in line with what the buttons draw
        label->setContentsMargins(Metrics::ringMargin, 0, 0, 0);
    connect(allow_, &QPushButton::clicked, this, [this] { permission_.requestAccess(); });
    connect(openSettings_, &QPushButton::clicked, this, [this] { permission_.openSystemSettings(); });
    connect(recheck_, &QPushButton::clicked, this, [this] { permission_.recheck(); });

    auto* const buttons = new QHBoxLayout;
    buttons->setSpacing(Metrics::tight);
    for (auto* const button : {allow_, openSettings_, recheck_})
        buttons->addWidget(button);
    buttons->addStretch();
    auto* const block = new QWidget;
    block->setMaximumWidth(kWidestText);
    auto* const texts = new QVBoxLayout(block);
    texts->setContentsMargins(0, 0, 0, 0);
    texts->setSpacing(Metrics::tight + 2);
    texts->addStretch();
    texts->addWidget(title_);
    texts->addWidget(text_);
    texts->addSpacing(Metrics::small);
    texts->addLayout(buttons);
    texts->addStretch();
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(Metrics::huge, Metrics::large, Metrics::huge, Metrics::large);
    row->setSpacing(Metrics::huge);
    row->addStretch(1);
    row->addWidget(new Illustration(theme, Illustration::Subject::access));
    row->addWidget(block, 100);
    row->addStretch(1);

    observations_.push_back(permission.state().observe([this] { showState(); }));
    observations_.push_back(permission.recheckFoundAccessStillOff().observe([this] { showState(); }));
    showState();
}

void PermissionView::showState() {
    const auto state = permission_.state().get();
    const bool isFirstRun = state == AudioCaptureAccessState::firstRun;
    const bool isOff = state == AudioCaptureAccessState::needsSystemSettings;
    allow_->setVisible(isFirstRun);
    openSettings_->setVisible(isOff);
    recheck_->setVisible(isOff);
    if (!isFirstRun && !isOff) {
        title_->setContent(u"One moment…"_s);
        text_->setContent(u"Looking whether rewindle may hear what this computer plays."_s);
        return;
    }
    title_->setContent(isFirstRun ? u"Let rewindle listen"_s : u"System audio access is off"_s);
    text_->setContent(guidance(state, permission_.recheckFoundAccessStillOff().get()));
    setFocusProxy(isFirstRun ? allow_ : openSettings_);
    if (isVisible() && !isAncestorOf(window()->focusWidget())) setFocus(); // there was nothing to focus before
}

} // namespace rewindle
