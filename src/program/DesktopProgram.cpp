#include "program/DesktopProgram.h"

#include <QApplication>

namespace rewindle {

DesktopProgram::DesktopProgram(LogSink& log)
    : log_(log, "Desktop"), workspace_(QDBusConnection::sessionBus()),
      loginItem_(XdgLoginItem::defaultFolder(), QtProcessLauncher().executable()),
      host_({.log = log, .loginItem = loginItem_, .folderChooser = folderChooser_, .workspace = workspace_}, {},
            [this] { delegate_.quit(); }),
      theme_(host_.session().themeManager()),
      mainWindowHosting_(application_, presentation_, host_.defaults(), host_.session().settingsManager()),
      statusItem_(QDBusConnection::sessionBus()),
      menuBar_(statusItem_,
               {.showMainWindow = [this] { mainWindowHosting_.show(); }, .quitApp = [this] { delegate_.quit(); }}),
      delegate_({.session = host_.session(),
                 .menuBar = menuBar_,
                 .mainWindow = mainWindowHosting_,
                 .application = application_,
                 .mainQueue = host_.mainQueue()}),
      service_(host_.control(), QDBusConnection::sessionBus(), Log(log, "Control")),
      dbusApplication_(service_, QDBusConnection::sessionBus(),
                       {.activate = [this](const ActivationToken& token) { reopen(token); },
                        .actions = {{QStringLiteral("quit"), [this](const ActivationToken&) { delegate_.quit(); }}}}),
      frameClocks_(log),
      gpu_(host_.defaults(), frameClocks_.clock(), log), waveform_{.clock = frameClocks_.clock(),
                                                                   .drivers = frameClocks_.drivers(),
                                                                   .timingLog = frameClocks_.timingLog(),
                                                                   .freeze = freeze_,
                                                                   .audition = audition_,
                                                                   .saver = host_.control(),
                                                                   .pasteboard = outlets_,
                                                                   .dragSource = outlets_,
                                                                   .forcedClockMode = frameClocks_.forcedMode()} {
    actions_ = {.openSettings = [this] { showSettings(); },
                .revealFile = [this](const auto& file) { workspace_.revealFile(file); },
                .closeRequested = [this] { closeMainWindow(); },
                .quit = [this] { delegate_.quit(); },
                .setConsent = [this](bool granted) { setConsent(granted); }};
    presentation_.openWindow = [this] { openMainWindow(); };
    host_.session().setShowMainWindow([this] { mainWindowHosting_.show(); });
    delegate_.setQuitHook([this](std::function<void()> done) { host_.control().shutDown(std::move(done)); });
    application_.setBecameActiveHandler([this] { delegate_.becameActive(); });
    workspace_.setSettingsLinkHandler([this] {
        showSettings();
        settingsWindow_->presentConsent();
    });
    host_.consent().setQuestion([this](std::function<void(bool)> answer) { ask(std::move(answer)); });
    host_.consent().setFailureHandler([this](const Error& error) { tellConsentFailure(error); });
    accessObservation_ = host_.session().permission().state().observe([this] { answerOpenQuestion(); });
}

DesktopProgram::Start DesktopProgram::start() {
    return service_.start() == DbusControlService::Start::alreadyRunning ? Start::alreadyRunning : Start::ready;
}

int DesktopProgram::run(bool hidden) {
    activator_.useToken(ActivationToken::fromEnvironment());
    delegate_.finishedLaunching(hidden);
    return QApplication::exec();
}

void DesktopProgram::openMainWindow() {
    waveform_.makeSurface = gpu_.surfaceFactory();
    mainWindow_ =
        std::make_unique<MainWindow>(host_.session(), host_.control(), waveform_, host_.defaults(), theme_, actions_);
    mainGeometry_ = std::make_unique<WindowGeometry>(*mainWindow_, host_.defaults(), kGeometryKey);
    mainQtWindow_ = std::make_unique<QtWindow>(*mainWindow_, activator_);
    const bool isFirstEver = !host_.defaults().flag(MainWindowHosting::kLayoutKey);
    mainWindowHosting_.setMainWindow(mainQtWindow_.get());
    if (!isFirstEver && !mainGeometry_->isRestored()) mainWindowHosting_.applyDefaultFrame(false);
    mainQtWindow_->makeKeyAndOrderFront();
    mainQtWindow_->afterNextFrame(&QtApplication::showIcon);
}

void DesktopProgram::closeMainWindow() {
    auto& defaults = host_.defaults();
    mainWindowHosting_.hide();
    if (statusItem_.isShown() || defaults.flag(kHidingKey)) return;
    // Nothing on the screen tells that the program goes on, and how to get the window back.
    defaults.set(kHidingKey, true);
    tellThatWindowIsHidden(theme_, nullptr);
}

void DesktopProgram::showSettings() {
    if (!settingsWindow_) {
        settingsWindow_ = std::make_unique<SettingsWindow>(host_.session(), host_.control(), theme_, actions_);
    }
    settingsWindow_->show();
    activator_.activate(*settingsWindow_);
}

void DesktopProgram::setConsent(bool granted) {
    const auto stored = host_.consent().store(granted);
    if (!stored) tellConsentFailure(stored.error());
    host_.session().permission().consentChanged();
}

void DesktopProgram::ask(std::function<void(bool)> answer) {
    mainWindowHosting_.show();
    question_ = askForSystemAudio(theme_, mainWindow_.get(), std::move(answer));
}

/// Somebody has answered elsewhere, with a command say, while the question is on the screen.
void DesktopProgram::answerOpenQuestion() {
    const auto state = host_.session().permission().state().get();
    if (!question_) return;
    if (state == AudioCaptureAccessState::granted) question_->accept();
    if (state == AudioCaptureAccessState::needsSystemSettings) question_->reject();
}

void DesktopProgram::tellConsentFailure(const Error& error) {
    log_.error("The consent could not be stored: " + error.message + ".");
    NightfallDialog::present(theme_,
                             {.title = QStringLiteral("Your answer could not be stored"),
                              .text = QString::fromStdString(error.message + "."),
                              .accept = QStringLiteral("Close"),
                              .refuse = {}},
                             nullptr, {});
}

void DesktopProgram::reopen(const ActivationToken& token) {
    activator_.useToken(token);
    const bool isThere = delegate_.shouldHandleReopen(mainWindow_ && mainWindow_->isVisible());
    if (isThere) activator_.activate(*mainWindow_); // other windows may be in front of it
}

} // namespace rewindle
