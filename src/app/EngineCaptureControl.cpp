#include "app/EngineCaptureControl.h"

#include "settings/ExportDirectory.h"

#include <algorithm>
#include <cmath>

namespace rewindle {
namespace {

constexpr double kGainLimitDb = 20;
constexpr std::string_view kClipNamePrefix = "rewindle";

/// The newest `seconds`, or what there is when that is less.
std::pair<std::int64_t, std::int64_t> newestRange(const WaveformInfo& held, double seconds) {
    const auto end = held.totalFramesWritten;
    const auto wanted = std::round(seconds * static_cast<double>(AudioRingBuffer::kFramesPerSecond));
    // Compared as doubles: a wish for an eternity is more than an integer holds.
    if (wanted >= static_cast<double>(end - held.oldestFrame)) return {held.oldestFrame, end};
    return {end - static_cast<std::int64_t>(wanted), end};
}

/// Export thread. The custom folder of an export stands as it was given: its parent must exist.
Result<std::filesystem::path> writeToFolder(const StereoSamples& samples, std::filesystem::path folder,
                                            const ClipExportServices& clips) {
    if (folder.empty()) folder = ExportDirectory(clips.files).resolvedURL(std::nullopt);
    auto outcome = exportClip(samples.left, samples.right, folder, kClipNamePrefix, clips);
    if (!outcome) return Error{outcome.error().underlying().code, outcome.error().message()};
    return std::move(outcome).value();
}

/// Control thread. Empty when the device is gone, or the server.
std::string describeDevice(AudioHardware& hardware, const std::string& uid) {
    const auto devices = hardware.devices();
    if (!devices) return {};
    for (const auto device : devices.value()) {
        const auto itsUid = hardware.deviceUid(device);
        if (!itsUid || itsUid.value() != uid) continue;
        const auto description = hardware.deviceDescription(device);
        return description ? description.value() : std::string();
    }
    return {};
}

} // namespace

EngineCaptureControl::EngineCaptureControl(const Services& services, std::function<void()> onQuit)
    : services_(services), onQuit_(std::move(onQuit)), meter_(services.engine.levelMeter(), services.clips.clock),
      self_(std::make_shared<EngineCaptureControl*>(this)) {
    deviceObservation_ = services_.engine.outputDeviceUid().observe([this] { onOutputDeviceChanged(); });
}

EngineCaptureControl::~EngineCaptureControl() = default;

void EngineCaptureControl::start() {
    Rewindle::Callbacks callbacks;
    callbacks.onCaptureStartFailed = [weak = std::weak_ptr(self_)](const CoreAudioTapCaptureError& error) {
        if (const auto self = weak.lock()) (*self)->onCaptureFailed(error.message());
    };
    callbacks.onCaptureRestartFailed = [weak = std::weak_ptr(self_)](const CoreAudioTapCaptureError& error) {
        const auto self = weak.lock();
        if (!self) return;
        (*self)->onCaptureFailed("Audio capture stopped after an output change. It will retry automatically. (" +
                                 error.message() + ")");
    };
    services_.engine.start(std::move(callbacks));
}

void EngineCaptureControl::shutDown(std::function<void()> completion) {
    if (onShutDown_) return;
    onShutDown_ = std::move(completion);
    services_.log.info("Stopping.");
    services_.engine.stop([weak = std::weak_ptr(self_)] {
        const auto self = weak.lock();
        if (!self) return;
        (*self)->captureStopped_ = true;
        (*self)->endWhenIdle();
    });
}

void EngineCaptureControl::endWhenIdle() {
    if (onShutDown_ && captureStopped_ && exportsUnderWay_ == 0) onShutDown_();
}

void EngineCaptureControl::exportLast(double seconds, const Path& folder, ExportReply reply) {
    exportRange([seconds](const WaveformInfo& held) { return newestRange(held, seconds); }, folder, std::move(reply));
}

void EngineCaptureControl::exportAll(const Path& folder, ExportReply reply) {
    exportRange([](const WaveformInfo& held) { return std::pair(held.oldestFrame, held.totalFramesWritten); }, folder,
                std::move(reply));
}

void EngineCaptureControl::exportRange(Rewindle::RangeChoice range, const Path& folder, ExportReply reply) {
    if (onShutDown_) return reply(Error{0, "rewindle is quitting."});
    ++exportsUnderWay_;
    auto finish = [weak = std::weak_ptr(self_), reply = std::move(reply)](const Result<Path>& outcome) {
        if (const auto self = weak.lock()) (*self)->onExported(outcome, reply);
    };
    // On the export thread nothing of this object is touched: only services, which outlive the queue's work.
    services_.engine.copyFrames(std::move(range), services_.exportQueue,
                                [clips = services_.clips, &mainQueue = services_.mainQueue, folder,
                                 finish = std::move(finish)](const StereoSamples& samples) {
                                    auto outcome = writeToFolder(samples, folder, clips);
                                    mainQueue.async([finish, outcome = std::move(outcome)] { finish(outcome); });
                                });
}

void EngineCaptureControl::onExported(const Result<Path>& outcome, const ExportReply& reply) {
    --exportsUnderWay_;
    if (outcome) {
        services_.log.info("Saved " + outcome.value().string());
    } else {
        services_.log.warning("Export failed: " + outcome.error().message);
    }
    reply(outcome);
    if (outcome && onClipExported) onClipExported(outcome.value());
    endWhenIdle();
}

void EngineCaptureControl::setFrozen(bool frozen) {
    if (onShutDown_) return; // stopping has frozen what is held
    services_.engine.setFrozen(frozen);
    if (std::exchange(frozen_, frozen) != frozen) tellStateChanged();
}

void EngineCaptureControl::requestStatus(std::function<void(const CaptureStatus&)> reply) {
    services_.engine.drain([weak = std::weak_ptr(self_), reply = std::move(reply)] {
        if (const auto self = weak.lock()) reply((*self)->status());
    });
}

CaptureStatus EngineCaptureControl::status() {
    const auto& engine = services_.engine;
    const auto ring = engine.ringBuffer().get();
    const auto held = ring->info();
    const auto levels = meter_.read();
    CaptureStatus status;
    status.running = engine.isRunning().get() && !deviceUid_.empty();
    status.frozen = frozen_;
    status.deviceUid = deviceUid_;
    status.deviceDescription = deviceDescription_;
    status.durationSeconds = static_cast<int>(ring->durationSeconds);
    status.retainedSeconds = static_cast<double>(held.totalFramesWritten - held.oldestFrame) /
                             static_cast<double>(AudioRingBuffer::kFramesPerSecond);
    status.totalFrames = held.totalFramesWritten;
    status.gainDb = gainDb_;
    status.displayDb = levels.displayDb;
    status.holdDb = levels.holdDb;
    status.troubles = services_.hardware.troubles();
    status.lastError = lastError_;
    return status;
}

void EngineCaptureControl::setDuration(int seconds, std::function<void(Result<void>)> reply) {
    const auto duration = recordingDurationFromSeconds(seconds);
    if (!duration) return reply(Error{0, "A duration is one of 30, 45, 60, 120, 180, 300 or 600 seconds."});
    const bool differs = services_.engine.ringBuffer().get()->durationSeconds != seconds;
    services_.engine.setDuration(*duration, [weak = std::weak_ptr(self_), differs, reply = std::move(reply)] {
        reply({});
        const auto self = weak.lock();
        if (self && differs) (*self)->tellStateChanged();
    });
}

Result<void> EngineCaptureControl::setGain(double gainDb) {
    if (!std::isfinite(gainDb)) return Error{0, "A gain is a number of decibels, -20 to 20."};
    const auto clamped = static_cast<float>(std::clamp(gainDb, -kGainLimitDb, kGainLimitDb));
    services_.engine.setGain(clamped, true);
    if (std::exchange(gainDb_, clamped) != clamped) tellStateChanged();
    return {};
}

void EngineCaptureControl::quit() {
    onQuit_();
}

void EngineCaptureControl::onOutputDeviceChanged() {
    const auto& uid = services_.engine.outputDeviceUid().get();
    deviceUid_ = uid;
    deviceDescription_.clear();
    if (uid.empty()) {
        if (!onShutDown_) services_.log.info("Capture is interrupted.");
    } else {
        lastError_.clear();
        requestDeviceDescription(uid);
    }
    tellStateChanged();
}

void EngineCaptureControl::requestDeviceDescription(const std::string& uid) {
    services_.controlQueue.async(
        [&hardware = services_.hardware, &mainQueue = services_.mainQueue, weak = std::weak_ptr(self_), uid] {
            mainQueue.async([weak, uid, description = describeDevice(hardware, uid)] {
                if (const auto self = weak.lock()) (*self)->onDeviceDescription(uid, description);
            });
        });
}

void EngineCaptureControl::onDeviceDescription(const std::string& uid, const std::string& description) {
    if (uid != deviceUid_) return; // another device has come meanwhile
    deviceDescription_ = description;
    services_.log.info("Capturing " + (description.empty() ? uid : description + " (" + uid + ")"));
    tellStateChanged();
}

void EngineCaptureControl::onCaptureFailed(std::string message) {
    services_.log.warning(message);
    lastError_ = std::move(message);
    tellStateChanged();
}

void EngineCaptureControl::tellStateChanged() const {
    if (onCaptureStateChanged) onCaptureStateChanged();
}

} // namespace rewindle
