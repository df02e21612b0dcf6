#pragma once

#include "app/Actions.h"
#include "app/AppDelegate.h"
#include "app/MainWindowHosting.h"
#include "app/MenuBarController.h"
#include "base/Log.h"
#include "host/control/DbusApplication.h"
#include "host/control/DbusControlService.h"
#include "host/desktop/QtFolderChooser.h"
#include "host/desktop/QtWorkspace.h"
#include "host/process/TerminationSignals.h"
#include "host/process/XdgLoginItem.h"
#include "host/windows/QtApplication.h"
#include "host/windows/QtStatusItem.h"
#include "host/windows/QtWindow.h"
#include "host/windows/WindowActivator.h"
#include "program/FrameClocks.h"
#include "program/GpuDrawing.h"
#include "program/SessionHost.h"
#include "program/SilentOutlets.h"
#include "program/WindowGeometry.h"
#include "ui/components/NightfallDialog.h"
#include "ui/components/NightfallTheme.h"
#include "ui/pages/MainWindow.h"
#include "ui/pages/SettingsWindow.h"
#include "waveform/EngineFreeze.h"

#include <QPointer>

#include <memory>

namespace rewindle {

/// The application on a desktop: the session with its windows and its place in the status bar. Windows are made when
/// they are first shown.
///
/// Threads:   interface thread.
/// Lifecycle: make it after the QApplication.
class DesktopProgram {
public:
    explicit DesktopProgram(LogSink& log);
    DesktopProgram(const DesktopProgram&) = delete;
    DesktopProgram& operator=(const DesktopProgram&) = delete;

    enum class Start { ready, alreadyRunning };
    /// Takes the program's name on the session bus. Without a bus it is the only instance.
    [[nodiscard]] Start start();
    /// Runs until the user quits; returns the exit status of the process. Requires: started.
    [[nodiscard]] int run(bool hidden);

private:
    static constexpr std::string_view kHidingKey = "com.rewindle.hasExplainedHiding";
    static constexpr auto kGeometryKey = "ui.mainWindowGeometry";

    void openMainWindow();
    void closeMainWindow();
    void showSettings();
    void setConsent(bool granted);
    void ask(std::function<void(bool)> answer);
    void answerOpenQuestion();
    void tellConsentFailure(const Error& error);
    void reopen(const ActivationToken& token);

    TerminationSignals signals_{[this] { delegate_.quit(); }};
    Log log_;
    QtApplication application_;
    WindowActivator activator_;
    QtWorkspace workspace_;
    XdgLoginItem loginItem_;
    QtFolderChooser folderChooser_;
    SessionHost host_;
    NightfallTheme theme_;
    MainWindowPresentation presentation_;
    MainWindowHosting mainWindowHosting_;
    QtStatusItem statusItem_;
    MenuBarController menuBar_;
    AppDelegate delegate_;
    DbusControlService service_;
    DbusApplication dbusApplication_;
    Actions actions_;
    FrameClocks frameClocks_;
    GpuDrawing gpu_;
    EngineFreeze freeze_{host_.session().sampler()};
    SilentAudition audition_;
    SilentOutlets outlets_;
    WaveformServices waveform_;
    std::unique_ptr<MainWindow> mainWindow_;
    std::unique_ptr<WindowGeometry> mainGeometry_;
    std::unique_ptr<QtWindow> mainQtWindow_;
    std::unique_ptr<SettingsWindow> settingsWindow_;
    QPointer<NightfallDialog> question_; // while it is on the screen
    Observation accessObservation_;
};

} // namespace rewindle
