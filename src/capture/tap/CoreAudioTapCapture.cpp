#include "capture/tap/CoreAudioTapCapture.h"

#include "capture/signal/AudioBufferListConverter.h"
#include "capture/tap/CaptureRestartSchedule.h"
#include "capture/tap/DeviceListDecision.h"
#include "capture/tap/Uuid.h"

#include <cassert>

namespace rewindle {
namespace {

constexpr std::uint32_t kIoBufferFrames = 2048;
constexpr AudioObjectID kFirstDeviceObject = 2; // 1 is the sound server itself
using Kind = CoreAudioTapCaptureError::Kind;

} // namespace

CoreAudioTapCapture::CoreAudioTapCapture(AudioHardware& hardware, SerialQueue& captureQueue,
                                         SerialQueue& controlQueue, SerialQueue& mainQueue, LogSink& log,
                                         std::int64_t processIdentifier)
    : hardware_(hardware), queue_(captureQueue), controlQueue_(controlQueue), mainQueue_(mainQueue),
      log_(log, "CoreAudioTap"), processIdentifier_(processIdentifier), watcher_(hardware, log_) {}

CoreAudioTapCapture::~CoreAudioTapCapture() = default;

void CoreAudioTapCapture::setCallbacks(Callbacks callbacks) {
    auto shared = std::make_shared<const Callbacks>(std::move(callbacks));
    const std::lock_guard hold(captureStateLock_);
    callbacks_.swap(shared);
}

CoreAudioTapCapture::StartResult CoreAudioTapCapture::start() {
    controlQueue_.assertCurrent();
    assert(!isRunning_);
    watcher_.setHandlers(makeHandlers());
    return runStartSequence();
}

void CoreAudioTapCapture::stop() {
    controlQueue_.assertCurrent();
    if (pendingRestartWorkItem_) pendingRestartWorkItem_->cancel();
    pendingRestartWorkItem_.reset();
    watcher_.detach();
    tearDown();
    std::shared_ptr<const Callbacks> dropped; // released outside the lock
    {
        const std::lock_guard hold(captureStateLock_);
        callbacks_.swap(dropped);
    }
    isRunning_ = false;
}

void CoreAudioTapCapture::deliverPending() {
    queue_.assertCurrent();
    const auto device = aggregateDeviceID_.load();
    if (device != kNoAudioObject) hardware_.deliverPending(device);
}

// The start sequence

CoreAudioTapCapture::StartResult CoreAudioTapCapture::runStartSequence() {
    using Step = StartResult (CoreAudioTapCapture::*)();
    for (const Step step : {&CoreAudioTapCapture::createTap, &CoreAudioTapCapture::readOutputDevice,
                            &CoreAudioTapCapture::makeConverter, &CoreAudioTapCapture::createAggregateDevice,
                            &CoreAudioTapCapture::installIoProc, &CoreAudioTapCapture::startDevice}) {
        if (auto done = (this->*step)(); !done) {
            tearDown();
            return done;
        }
    }
    captureStarted();
    return {};
}

CoreAudioTapCapture::StartResult CoreAudioTapCapture::createTap() {
    ProcessTapDescription description;
    // Without an object for this process there is nothing of it to leave out.
    if (const auto self = hardware_.translateProcess(processIdentifier_)) {
        description.excludedProcesses.push_back(self.value());
    }
    description.uuid = tapUuid_ = makeUuid();
    const auto tap = hardware_.createProcessTap(description);
    if (!tap) return CoreAudioTapCaptureError{Kind::tapCreationFailed, tap.error()};
    tapID_ = tap.value();
    return {};
}

CoreAudioTapCapture::StartResult CoreAudioTapCapture::readOutputDevice() {
    const auto device = hardware_.defaultOutputDevice();
    if (!device) return CoreAudioTapCaptureError{Kind::propertyReadFailed, device.error()};
    if (device.value() == kNoAudioObject) {
        return CoreAudioTapCaptureError{Kind::propertyReadFailed, kAudioBadDeviceStatus};
    }
    const auto uid = hardware_.deviceUID(device.value());
    if (!uid) return CoreAudioTapCaptureError{Kind::propertyReadFailed, uid.error()};
    outputDeviceID_ = device.value();
    outputDeviceUID_ = uid.value();
    return {};
}

CoreAudioTapCapture::StartResult CoreAudioTapCapture::makeConverter() {
    const CoreAudioTapCaptureError unavailable{Kind::formatUnavailable};
    const auto format = hardware_.tapFormat(tapID_);
    if (!format) return unavailable;
    std::shared_ptr<AudioBufferListConverter> converter = AudioBufferListConverter::create(format.value());
    if (!converter) return unavailable;
    const std::lock_guard hold(captureStateLock_);
    converter_.swap(converter);
    return {};
}

CoreAudioTapCapture::StartResult CoreAudioTapCapture::createAggregateDevice() {
    AggregateDeviceDescription description;
    description.name = "rewindle Tap";
    description.uid = makeUuid();
    description.master = outputDeviceUID_;
    description.isPrivate = true;
    description.isStacked = false;
    description.tapAutoStart = true;
    description.subdevices = {{outputDeviceUID_}};
    description.taps = {{.drift = true, .uid = tapUuid_}};
    const auto device = hardware_.createAggregateDevice(description);
    if (!device) return CoreAudioTapCaptureError{Kind::aggregateDeviceCreationFailed, device.error()};
    aggregateDeviceID_ = device.value();
    // A device that refuses keeps its own size, and any size will do.
    static_cast<void>(hardware_.setBufferFrameSize(device.value(), kIoBufferFrames));
    watcher_.watchTap(device.value());
    return {};
}

CoreAudioTapCapture::StartResult CoreAudioTapCapture::installIoProc() {
    const auto proc =
        hardware_.createIoProc(aggregateDeviceID_, queue_, [weak = weak_from_this()](AudioBufferList input) {
            if (const auto self = weak.lock()) self->receive(input);
        });
    if (!proc) return CoreAudioTapCaptureError{Kind::ioProcCreationFailed, proc.error()};
    deviceProcID_ = proc.value();
    return {};
}

CoreAudioTapCapture::StartResult CoreAudioTapCapture::startDevice() {
    if (const auto current = callbacks(); current && current->onOutputDeviceChosen) {
        current->onOutputDeviceChosen(outputDeviceUID_, converter()->delayFrames());
    }
    const auto started = hardware_.startDevice(aggregateDeviceID_);
    if (!started) return CoreAudioTapCaptureError{Kind::deviceStartFailed, started.error()};
    return {};
}

void CoreAudioTapCapture::captureStarted() {
    activeOutputDeviceID_ = outputDeviceID_;
    isRunning_ = true;
    log_.info("Capture started for output device " + outputDeviceUID_ + ".");
    const auto current = callbacks();
    if (current && current->onOutputDeviceResolved) current->onOutputDeviceResolved(outputDeviceUID_);
    if (current && current->onOutputDeviceUIDChanged && reportedOutputDeviceUID_ != outputDeviceUID_) {
        mainQueue_.async([current, uid = outputDeviceUID_] { current->onOutputDeviceUIDChanged(uid); });
    }
    reportedOutputDeviceUID_ = outputDeviceUID_;
    watcher_.attach();
    watcher_.refreshDataSourceListener();
    // Nobody told of a device that became the default between the look for it and the first listener.
    const auto device = hardware_.defaultOutputDevice();
    if (device && device.value() != outputDeviceID_) scheduleCaptureRestart("default output device changed");
}

void CoreAudioTapCapture::tearDown() {
    watcher_.unwatchTap();
    const auto device = aggregateDeviceID_.load();
    if (deviceProcID_ != 0) {
        hardware_.stopDevice(device); // hands over what was played until now
        hardware_.destroyIoProc(device, deviceProcID_);
        queue_.sync([this] { deliverEnd(); });
    }
    if (device != kNoAudioObject) hardware_.destroyAggregateDevice(device);
    if (tapID_ != kNoAudioObject) hardware_.destroyProcessTap(tapID_);
    deviceProcID_ = 0;
    aggregateDeviceID_ = kNoAudioObject;
    tapID_ = kNoAudioObject;
    std::shared_ptr<AudioBufferListConverter> dropped; // released outside the lock
    const std::lock_guard hold(captureStateLock_);
    converter_.swap(dropped);
}

// Route events and restarts

OutputRouteWatcher::Handlers CoreAudioTapCapture::makeHandlers() {
    const auto weak = weak_from_this();
    OutputRouteWatcher::Handlers handlers;
    handlers.onDefaultOutputDeviceChanged = [weak] {
        if (const auto self = weak.lock()) self->defaultOutputDeviceChanged();
    };
    handlers.onHardwareDevicesChanged = [weak] {
        if (const auto self = weak.lock()) self->hardwareDevicesChanged();
    };
    handlers.onOutputDataSourceChanged = [weak](AudioObjectID device) {
        if (const auto self = weak.lock()) self->outputDataSourceChanged(device);
    };
    handlers.onTapInterrupted = [weak] {
        if (const auto self = weak.lock()) self->scheduleCaptureRestart("audio hardware devices changed");
    };
    return handlers;
}

void CoreAudioTapCapture::defaultOutputDeviceChanged() {
    logRouteState("defaultOutputDevice property fired");
    scheduleCaptureRestart("default output device changed");
}

void CoreAudioTapCapture::hardwareDevicesChanged() {
    logRouteState("hardwareDevices property fired");
    RouteSnapshot route;
    route.activeDevice = activeOutputDeviceID_;
    route.previousListenerDevice = watcher_.dataSourceListenerDevice();
    watcher_.refreshDataSourceListener();
    route.currentListenerDevice = watcher_.dataSourceListenerDevice();
    if (!isWanted()) return log_.info("[route] hardwareDevices changed but capture not running; ignoring.");

    if (const auto device = hardware_.defaultOutputDevice()) route.defaultDevice = device.value();
    if (const auto devices = hardware_.devices()) route.devices = devices.value();
    const auto decision = DeviceListDecision::make(route);
    log_.info(decision.logLine(route));
    if (const auto reason = decision.restartReason()) return scheduleCaptureRestart(*reason);
    log_.info("[route] hardwareDevices changed but nothing relevant moved; not restarting.");
}

void CoreAudioTapCapture::outputDataSourceChanged(AudioObjectID device) {
    logRouteState("outputDataSource property fired (deviceID=" + std::to_string(device) + ")");
    scheduleCaptureRestart("output data source changed");
}

void CoreAudioTapCapture::scheduleCaptureRestart(const std::string& reason) {
    controlQueue_.assertCurrent();
    log_.debug((pendingRestartWorkItem_ ? "[route] coalescing pending restart; superseding reason="
                                        : "[route] scheduling restart, reason=") +
               reason);
    setPendingRestart(CaptureRestartSchedule::kDebounce,
                      [reason](CoreAudioTapCapture& self) { self.performCaptureRestart(reason, 0); });
}

void CoreAudioTapCapture::setPendingRestart(std::chrono::nanoseconds delay,
                                            std::function<void(CoreAudioTapCapture&)> work) {
    // One chain of tries at a time: a route event takes the place of a retry that waits.
    if (pendingRestartWorkItem_) pendingRestartWorkItem_->cancel();
    pendingRestartWorkItem_ = controlQueue_.asyncAfter(delay, [weak = weak_from_this(), work = std::move(work)] {
        const auto self = weak.lock();
        if (!self) return;
        self->pendingRestartWorkItem_.reset();
        work(*self);
    });
}

void CoreAudioTapCapture::performCaptureRestart(const std::string& reason, std::size_t attempt) {
    controlQueue_.assertCurrent();
    if (!isRunning_) {
        return log_.info("[route] performCaptureRestart skipped: capture not running (reason=" + reason + ")");
    }
    log_.info("Output route changed (" + reason + "); restarting capture (attempt " + std::to_string(attempt + 1) +
              ").");
    logRouteState("before restart teardown");
    tearDown();
    if (const auto current = callbacks(); current && current->onCaptureRestartSeam) current->onCaptureRestartSeam();
    if (const auto started = runStartSequence(); !started) return restartFailed(started.error(), attempt);
    logRouteState("after restart completed");
}

void CoreAudioTapCapture::restartFailed(const CoreAudioTapCaptureError& error, std::size_t attempt) {
    log_.warning("Capture restart failed (attempt " + std::to_string(attempt + 1) + "): " + error.message());
    if (!isWanted()) return;
    if (const auto pause = CaptureRestartSchedule::pauseAfter(attempt)) {
        return setPendingRestart(
            *pause, [next = attempt + 1](CoreAudioTapCapture& self) { self.performCaptureRestart("retry", next); });
    }
    reportRestartFailure(error);
    setPendingRestart(CaptureRestartSchedule::kRecoveryPause, [](CoreAudioTapCapture& self) { self.recover(); });
}

void CoreAudioTapCapture::reportRestartFailure(const CoreAudioTapCaptureError& error) {
    const auto current = callbacks();
    if (!current || !current->onCaptureRestartFailed) return;
    mainQueue_.async([current, error] { current->onCaptureRestartFailed(error); });
}

void CoreAudioTapCapture::recover() {
    if (isWanted() && aggregateDeviceID_ < kFirstDeviceObject) performCaptureRestart("recovery", 0);
}

void CoreAudioTapCapture::logRouteState(const std::string& event) {
    if (log_.isEnabled(LogLevel::debug)) { // the text asks the sound server for much
        log_.debug(watcher_.describe(event, isRunning_, activeOutputDeviceID_));
    }
}

// Capture queue

void CoreAudioTapCapture::receive(AudioBufferList input) {
    std::shared_ptr<AudioBufferListConverter> converter;
    std::shared_ptr<const Callbacks> current;
    {
        const std::lock_guard hold(captureStateLock_);
        converter = converter_;
        current = callbacks_;
    }
    if (!converter || !current || !current->onBuffer) return;
    const auto frames = static_cast<std::uint32_t>(converter->frameCount(input));
    if (const auto* buffer = converter->convert(input, frames)) current->onBuffer(*buffer);
}

void CoreAudioTapCapture::deliverEnd() {
    deliverPending();
    const auto current = callbacks();
    const auto last = converter();
    const auto* buffer = last ? last->drain() : nullptr;
    if (buffer && current && current->onBuffer) current->onBuffer(*buffer);
}

// Any thread

std::shared_ptr<const CoreAudioTapCapture::Callbacks> CoreAudioTapCapture::callbacks() const {
    const std::lock_guard hold(captureStateLock_);
    return callbacks_;
}

std::shared_ptr<AudioBufferListConverter> CoreAudioTapCapture::converter() const {
    const std::lock_guard hold(captureStateLock_);
    return converter_;
}

bool CoreAudioTapCapture::isWanted() const {
    const auto current = callbacks();
    return isRunning_ && current && current->onBuffer;
}

} // namespace rewindle
