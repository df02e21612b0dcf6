#include "app/SessionCaptureControl.h"

#include "base/CaptureGain.h"

#include <cmath>
#include <system_error>

namespace rewindle {
namespace {

constexpr std::string_view kClipNamePrefix = "rewindle";

/// The newest `seconds`, or what there is when that is less.
std::pair<std::int64_t, std::int64_t> newestRange(const WaveformInfo& held, double seconds) {
    const auto end = held.totalFramesWritten;
    const auto wanted = std::round(seconds * static_cast<double>(AudioRingBuffer::kFramesPerSecond));
    // Compared as doubles: more seconds can be asked for than an integer holds frames.
    if (wanted >= static_cast<double>(end - held.oldestFrame)) return {held.oldestFrame, end};
    return {end - static_cast<std::int64_t>(wanted), end};
}

std::pair<std::int64_t, std::int64_t> allOf(const WaveformInfo& held) {
    return {held.oldestFrame, held.totalFramesWritten};
}

/// Gives the reply to a request the failure as one line for people.
ClipSaver::Completion tellingPlainly(CaptureControl::ExportReply reply) {
    return [reply = std::move(reply)](const auto& outcome) {
        if (outcome) return reply(outcome.value());
        reply(Error{outcome.error().underlying().code, outcome.error().message()});
    };
}

WaveformExportError::Case caseOf(CopyRefusal refusal) {
    using enum WaveformExportError::Case;
    return refusal == CopyRefusal::noMemory ? bufferAllocationFailed : tooManyExports;
}

/// Export thread. The samples are gone when it returns.
ClipSaver::Outcome exportCopy(CopyResult copy, const std::filesystem::path& folder, const ClipExportServices& clips) {
    if (!copy) return WaveformExportError(caseOf(copy.error()));
    const auto samples = std::move(copy).value();
    return exportClip(samples.left, samples.right, folder, kClipNamePrefix, clips);
}

/// Control thread. Empty when the device is gone, or the server.
std::string describeDevice(AudioHardware& hardware, const std::string& uid) {
    const auto devices = hardware.devices();
    if (!devices) return {};
    for (const auto device : devices.value()) {
        const auto itsUID = hardware.deviceUID(device);
        if (!itsUID || itsUID.value() != uid) continue;
        const auto description = hardware.deviceDescription(device);
        return description ? description.value() : std::string();
    }
    return {};
}

} // namespace

SessionCaptureControl::SessionCaptureControl(const Services& services, std::function<void()> onQuit)
    : services_(services), onQuit_(std::move(onQuit)), meter_(sampler().levelMeter(), services.clips.clock),
      self_(std::make_shared<SessionCaptureControl*>(this)) {
    const auto tell = [this] { tellStateChanged(); };
    auto& session = services_.session;
    observations_.push_back(sampler().outputDeviceUID().observe([this] { onOutputDeviceChanged(); }));
    observations_.push_back(sampler().isFrozen().observe(tell));
    observations_.push_back(sampler().ringBufferRevision().observe(tell));
    observations_.push_back(session.settingsManager().captureGainDB().observe(tell));
    observations_.push_back(session.permission().state().observe(tell));
    observations_.push_back(session.captureErrorMessage().observe(tell));
}

SessionCaptureControl::~SessionCaptureControl() = default;

void SessionCaptureControl::shutDown(std::function<void()> completion) {
    if (onShutDown_) return;
    onShutDown_ = std::move(completion);
    services_.log.info("Stopping.");
    services_.session.stopCapture([weak = std::weak_ptr(self_)] {
        const auto self = weak.lock();
        if (!self) return;
        (*self)->captureStopped_ = true;
        (*self)->endWhenIdle();
    });
}

void SessionCaptureControl::endWhenIdle() {
    if (onShutDown_ && captureStopped_ && exportsUnderWay_ == 0) onShutDown_();
}

void SessionCaptureControl::exportLast(double seconds, const Path& folder, ExportReply reply) {
    exportRange([seconds](const WaveformInfo& held) { return newestRange(held, seconds); }, folder,
                tellingPlainly(std::move(reply)));
}

void SessionCaptureControl::exportAll(const Path& folder, ExportReply reply) {
    exportRange(allOf, folder, tellingPlainly(std::move(reply)));
}

void SessionCaptureControl::saveClip(std::optional<ClipRange> range, Completion completion, Progress progress) {
    if (!range) return exportRange(allOf, {}, std::move(completion), progress);
    exportRange([range = *range](const WaveformInfo&) { return std::pair(range.first, range.end); }, {},
                std::move(completion), progress);
}

void SessionCaptureControl::exportRange(Rewindle::RangeChoice range, const Path& folder, Completion completion,
                                        const Progress& progress) {
    if (onShutDown_) return completion(WaveformExportError::writeFailed({0, "rewindle is quitting."}));
    // A folder that was asked for is never replaced by the default one: without its parent the export fails.
    const auto target = folder.empty() ? services_.session.settingsManager().exportDirectory() : folder;
    ++exportsUnderWay_;
    auto finish = [weak = std::weak_ptr(self_), completion = std::move(completion)](const Outcome& outcome) {
        if (const auto self = weak.lock()) (*self)->onExported(outcome, completion);
    };
    auto clips = services_.clips;
    clips.progress = reportTo(progress);
    // On the export thread nothing of this object is touched: only services, which outlive the queue's work.
    sampler().copyFrames(std::move(range), services_.exportQueue,
                         [clips = std::move(clips), &mainQueue = services_.mainQueue, target,
                          finish = std::move(finish)](CopyResult copy) {
                             auto outcome = exportCopy(std::move(copy), target, clips);
                             mainQueue.async([finish, outcome = std::move(outcome)] { finish(outcome); });
                         });
}

/// Export thread: brings what the writer tells to the interface thread.
AudioFileWriter::Progress SessionCaptureControl::reportTo(const Progress& progress) const {
    if (!progress) return {};
    return [weak = std::weak_ptr(self_), &mainQueue = services_.mainQueue, progress](double fraction) {
        mainQueue.async([weak, progress, fraction] {
            if (!weak.expired()) progress(fraction);
        });
    };
}

void SessionCaptureControl::onExported(const Outcome& outcome, const Completion& completion) {
    --exportsUnderWay_;
    if (outcome) {
        services_.log.info("Saved " + outcome.value().string());
    } else {
        services_.log.warning("Export failed: " + outcome.error().message());
    }
    completion(outcome);
    if (outcome && onClipExported) onClipExported(outcome.value());
    endWhenIdle();
}

void SessionCaptureControl::setFrozen(bool frozen) {
    if (onShutDown_) return; // stopping has frozen what is held
    sampler().setFrozen(frozen);
}

void SessionCaptureControl::requestStatus(std::function<void(const CaptureStatus&)> reply) {
    sampler().drain([weak = std::weak_ptr(self_), reply = std::move(reply)] {
        if (const auto self = weak.lock()) reply((*self)->status());
    });
}

CaptureStatus SessionCaptureControl::status() {
    auto& session = services_.session;
    const auto ring = sampler().ringBuffer().get();
    const auto held = ring->info();
    const auto levels = meter_.read();
    CaptureStatus status;
    status.running = sampler().isRunning().get() && !deviceUID_.empty();
    status.frozen = sampler().isFrozen().get();
    status.access = session.permission().state().get();
    status.deviceUID = deviceUID_;
    status.deviceDescription = deviceDescription_;
    status.durationSeconds = static_cast<int>(ring->durationSeconds);
    status.retainedSeconds = static_cast<double>(held.totalFramesWritten - held.oldestFrame) /
                             static_cast<double>(AudioRingBuffer::kFramesPerSecond);
    status.totalFrames = held.totalFramesWritten;
    status.gainDB = session.settingsManager().captureGainDB().get();
    status.displayDB = levels.displayDB;
    status.holdDB = levels.holdDB;
    status.troubles = services_.hardware.troubles();
    status.lastError = session.captureErrorMessage().get().value_or("");
    return status;
}

void SessionCaptureControl::setDuration(int seconds, std::function<void(Result<void>)> reply) {
    const auto duration = recordingDurationFromSeconds(seconds);
    if (!duration) return reply(Error{0, "A duration is one of 30, 45, 60, 120, 180, 300 or 600 seconds."});
    services_.session.settingsManager().setRecordingDuration(*duration);
    services_.session.whenDurationIsApplied([&session = services_.session, duration, reply = std::move(reply)] {
        if (session.refusedDuration() != duration) return reply({});
        reply(Error{static_cast<int>(std::errc::not_enough_memory), "There is not enough memory to keep that much."});
    });
}

Result<void> SessionCaptureControl::setGain(double gainDB) {
    if (!std::isfinite(gainDB)) return Error{0, "A gain is a number of decibels, -20 to 20."};
    services_.session.settingsManager().setCaptureGainDB(CaptureGain::clamped(gainDB));
    return {};
}

void SessionCaptureControl::quit() {
    onQuit_();
}

void SessionCaptureControl::onOutputDeviceChanged() {
    const auto& uid = sampler().outputDeviceUID().get();
    deviceUID_ = uid;
    deviceDescription_.clear();
    if (uid.empty()) {
        if (!onShutDown_)
            services_.log.info(sampler().isRunning().get() ? "Capture is interrupted." : "Capture is off.");
    } else {
        requestDeviceDescription(uid);
    }
    tellStateChanged();
}

void SessionCaptureControl::requestDeviceDescription(const std::string& uid) {
    services_.controlQueue.async(
        [&hardware = services_.hardware, &mainQueue = services_.mainQueue, weak = std::weak_ptr(self_), uid] {
            mainQueue.async([weak, uid, description = describeDevice(hardware, uid)] {
                if (const auto self = weak.lock()) (*self)->onDeviceDescription(uid, description);
            });
        });
}

void SessionCaptureControl::onDeviceDescription(const std::string& uid, const std::string& description) {
    if (uid != deviceUID_) return; // another device has come meanwhile
    deviceDescription_ = description;
    services_.log.info("Capturing " + (description.empty() ? uid : description + " (" + uid + ")"));
    tellStateChanged();
}

void SessionCaptureControl::tellStateChanged() const {
    if (onCaptureStateChanged) onCaptureStateChanged();
}

} // namespace rewindle
