#pragma once

#include "app/AppSession.h"
#include "app/CaptureControl.h"
#include "base/Log.h"
#include "meter/LevelMeterReader.h"
#include "waveform/ClipExport.h"
#include "waveform/ClipOutlets.h"

#include <memory>
#include <vector>

namespace rewindle {

/// Carries out requests on the session and its engine, and remembers what there is to tell about it.
///
/// Threads:   interface thread. Clips are written on the export queue.
/// Lifecycle: `shutDown` first, then destroy it before the session. What is still on a queue then is dropped.
class SessionCaptureControl final : public CaptureControl, public ClipSaver {
public:
    /// All of it outlives the control, and outlives the work on the queues.
    struct Services {
        AppSession& session;
        AudioHardware& hardware;
        SerialQueue& controlQueue;
        SerialQueue& exportQueue;
        SerialQueue& mainQueue;
        ClipExportServices clips;
        Log log;
    };

    /// `onQuit` is called when somebody asks the program to end.
    SessionCaptureControl(const Services& services, std::function<void()> onQuit);
    ~SessionCaptureControl() override;

    /// Ends capture and lets the exports that were asked for come to their end, then calls `completion`.
    void shutDown(std::function<void()> completion);

    void exportLast(double seconds, const Path& folder, ExportReply reply) override;
    void exportAll(const Path& folder, ExportReply reply) override;
    void saveClip(std::optional<ClipRange> range, Completion completion, Progress progress) override;
    void setFrozen(bool frozen) override;
    void requestStatus(std::function<void(const CaptureStatus&)> reply) override;
    void setDuration(int seconds, std::function<void(Result<void>)> reply) override;
    Result<void> setGain(double gainDB) override;
    void quit() override;

private:
    void exportRange(Rewindle::RangeChoice range, const Path& folder, Completion completion,
                     const Progress& progress = {});
    [[nodiscard]] AudioFileWriter::Progress reportTo(const Progress& progress) const;
    void onExported(const Outcome& outcome, const Completion& completion);
    void onOutputDeviceChanged();
    void requestDeviceDescription(const std::string& uid);
    void onDeviceDescription(const std::string& uid, const std::string& description);
    [[nodiscard]] CaptureStatus status();
    [[nodiscard]] Rewindle& sampler() { return services_.session.sampler(); }
    void tellStateChanged() const;
    void endWhenIdle();

    Services services_;
    std::function<void()> onQuit_;
    LevelMeterReader meter_;
    std::string deviceUID_;
    std::string deviceDescription_; // of `deviceUID_`; empty until it is known
    int exportsUnderWay_ = 0;
    bool captureStopped_ = false;
    std::function<void()> onShutDown_; // set once shutting down
    std::vector<Observation> observations_;
    std::shared_ptr<SessionCaptureControl*> self_; // replies refer to it weakly: they may come after the end
};

} // namespace rewindle
