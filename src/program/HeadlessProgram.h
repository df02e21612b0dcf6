#pragma once

#include "base/Log.h"
#include "host/control/DbusApplication.h"
#include "host/control/DbusControlService.h"
#include "host/process/NoLoginItem.h"
#include "host/process/TerminationSignals.h"
#include "program/SessionHost.h"

#include <QCoreApplication>

namespace rewindle {

/// The program without a window: captures, and does what it is asked over the session bus.
class HeadlessProgram {
public:
    HeadlessProgram(LogSink& log, std::optional<RecordingDuration> durationForThisRun);

    /// Runs until it is told to end; returns the exit status of the process.
    [[nodiscard]] int run();

private:
    /// There is nobody to choose a folder, and nothing to show one in.
    struct NoDesktop final : FolderChooser, Workspace {
        [[nodiscard]] std::optional<std::filesystem::path> chooseFolder(const Question&) override { return {}; }
        bool open(const std::string&) override { return false; }
        [[nodiscard]] bool canParse(const std::string&) const override { return true; }
        bool openFolder(const std::filesystem::path&) override { return false; }
        bool revealFile(const std::filesystem::path&) override { return false; }
    };

    void end();
    void sayWhatIsMissing();
    /// For a desktop that wants a window. Starts the program once more, which finds out that there is none and tells
    /// the user.
    static void startWindow(const ActivationToken& token);

    TerminationSignals signals_{[this] { end(); }}; // before the first thread
    Log log_;
    NoLoginItem loginItem_;
    NoDesktop desktop_;
    SessionHost host_;
    DbusControlService service_;
    DbusApplication dbusApplication_;
    bool isMissing_ = false; // the access to audio; the log has said so
    Observation accessObservation_;
};

} // namespace rewindle
