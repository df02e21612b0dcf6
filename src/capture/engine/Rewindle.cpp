#include "capture/engine/Rewindle.h"

#include "base/FlushToZero.h"
#include "capture/engine/CaptureChain.h"
#include "capture/engine/CaptureRun.h"
#include "capture/tap/TapReceiver.h"

#include <utility>

namespace rewindle {

static_assert(TapReceiver::kLongestSilenceSeconds >= seconds(kAllRecordingDurations.back()));

/// The interface thread's part of the engine. Only that thread locks a weak reference to it, so that
/// observers and callbacks are released there.
struct Rewindle::State {
    State(RecordingDuration duration, float gainDB, const Services& given)
        : services(given),
          chain(std::make_shared<CaptureChain>(duration, gainDB, given.memory, given.clock, given.captureQueue)),
          copies(std::make_shared<CopyLine>(given.captureQueue)), ringBuffer(chain->ringBuffer()) {}

    void publish(std::shared_ptr<AudioRingBuffer> replacement) {
        ringBuffer.set(std::move(replacement));
        ringBufferRevision.set(ringBufferRevision.get() + 1);
    }
    /// Runs `work` on the capture queue, between two buffers, while the engine is there.
    template <class Work>
    void onCaptureQueue(Work work) const {
        services.captureQueue.async([weak = std::weak_ptr(chain), work = std::move(work)] {
            if (const auto current = weak.lock()) work(*current);
        });
    }

    const Services services;
    const std::shared_ptr<CaptureChain> chain;
    const std::shared_ptr<CopyLine> copies;
    Observable<std::shared_ptr<AudioRingBuffer>> ringBuffer;
    Observable<std::uint64_t> ringBufferRevision;
    Observable<bool> isRunning;
    Observable<bool> isFrozen;
    Observable<std::string> outputDeviceUID;
    std::shared_ptr<CaptureRun> run; // from start to stop
};

/// Ties what a run reports to the engine, for as long as both are there and the run has not been stopped.
struct Rewindle::RunLink {
    std::weak_ptr<State> state;
    std::weak_ptr<CaptureChain> chain;
    std::weak_ptr<CaptureRun> run;
    std::shared_ptr<const Callbacks> callbacks;
    SerialQueue& captureQueue;
    SerialQueue& mainQueue;

    /// Interface thread: calls `work` unless the run is over.
    template <class Work>
    void ifCurrent(Work work) const {
        const auto engine = state.lock();
        const auto reporter = run.lock();
        if (engine && reporter && engine->run == reporter) work(*engine);
    }
    /// Any thread: the same, later.
    template <class Work>
    void post(Work work) const {
        mainQueue.async([link = *this, work = std::move(work)] { link.ifCurrent(work); });
    }
};

Rewindle::Rewindle(RecordingDuration duration, float gainDB, Services services)
    : state_(std::make_shared<State>(duration, gainDB, services)) {
    services.captureQueue.async(setFlushToZero);
}

Rewindle::~Rewindle() {
    // Stops that are still on their way pass from the capture queue to the control queue.
    state_->services.captureQueue.sync([] {});
    state_->services.controlQueue.sync([run = state_->run] {
        if (run) run->end();
    });
}

const Observable<std::shared_ptr<AudioRingBuffer>>& Rewindle::ringBuffer() const {
    return state_->ringBuffer;
}
const Observable<std::uint64_t>& Rewindle::ringBufferRevision() const {
    return state_->ringBufferRevision;
}
const Observable<bool>& Rewindle::isRunning() const {
    return state_->isRunning;
}
const Observable<std::string>& Rewindle::outputDeviceUID() const {
    return state_->outputDeviceUID;
}
const Observable<bool>& Rewindle::isFrozen() const {
    return state_->isFrozen;
}
CaptureLevelMeter& Rewindle::levelMeter() {
    return state_->chain->levelMeter;
}

void Rewindle::setGain(float gainDB, bool ramp) {
    state_->chain->seamSoftener.setGain(gainDB, ramp);
}

void Rewindle::setLive(bool live) {
    state_->services.hardware.setDeliveryPace(live ? DeliveryPace::live : DeliveryPace::relaxed);
}

void Rewindle::setDuration(RecordingDuration duration, std::function<void(bool)> completion) {
    state_->onCaptureQueue([weak = std::weak_ptr(state_), &mainQueue = state_->services.mainQueue,
                            length = seconds(duration), completion = std::move(completion)](CaptureChain& chain) {
        mainQueue.async([weak, resized = chain.resize(length), completion] {
            const auto state = weak.lock();
            if (!state) return;
            if (resized && resized.value()) state->publish(resized.value());
            if (completion) completion(resized.ok());
        });
    });
}

void Rewindle::setFrozen(bool frozen) {
    state_->onCaptureQueue([frozen](CaptureChain& chain) {
        chain.fetchPending(); // what was played before the call is kept or dropped as it was then
        chain.setFrozen(frozen);
    });
    state_->isFrozen.set(frozen);
}

void Rewindle::copyFrames(RangeChoice range, SerialQueue& replyQueue, CopyLine::Completion completion) {
    state_->onCaptureQueue([range = std::move(range), copies = std::weak_ptr(state_->copies), &replyQueue,
                            completion = std::move(completion)](CaptureChain& chain) {
        const auto line = copies.lock();
        if (!line) return;
        chain.fetchPending();
        line->add([&] { return chain.beginCopy(range(chain.ringBuffer()->info())); }, replyQueue, completion);
    });
}

void Rewindle::drain(std::function<void()> completion) {
    state_->onCaptureQueue([weak = std::weak_ptr(state_), &mainQueue = state_->services.mainQueue,
                            completion = std::move(completion)](CaptureChain& chain) {
        chain.fetchPending();
        mainQueue.async([weak, completion] {
            if (!weak.expired()) completion();
        });
    });
}

void Rewindle::start(Callbacks callbacks) {
    if (state_->run) return;
    const auto& services = state_->services;
    const auto tap =
        std::make_shared<CoreAudioTapCapture>(services.hardware, services.captureQueue, services.controlQueue,
                                              services.mainQueue, services.log, services.processIdentifier);
    const auto run = std::make_shared<CaptureRun>(tap, services.controlQueue);
    const RunLink link{state_,
                       state_->chain,
                       run,
                       std::make_shared<const Callbacks>(std::move(callbacks)),
                       services.captureQueue,
                       services.mainQueue};
    tap->setCallbacks(tapCallbacks(link));
    run->setFirstFailureHandler([link](const CoreAudioTapCaptureError& error) {
        link.post([link, error](State&) {
            if (link.callbacks->onCaptureStartFailed) link.callbacks->onCaptureStartFailed(error);
        });
    });
    // By way of the capture queue, behind a stop that came before.
    state_->onCaptureQueue([weak = std::weak_ptr(run), &controlQueue = services.controlQueue](CaptureChain& chain) {
        const auto current = weak.lock();
        if (!current) return;
        chain.follow(current->tap());
        controlQueue.async([weak] {
            if (const auto begun = weak.lock()) begun->begin();
        });
    });
    state_->run = run;
    state_->isRunning.set(true);
}

CoreAudioTapCapture::Callbacks Rewindle::tapCallbacks(const RunLink& link) {
    CoreAudioTapCapture::Callbacks result;
    result.onBuffer = [weak = link.chain](const AudioPCMBuffer& buffer) {
        if (const auto chain = weak.lock()) chain->process(buffer);
    };
    result.onOutputDeviceChosen = [link](const std::string& uid, std::int64_t delayFrames) {
        const auto chain = link.chain.lock();
        if (!chain) return;
        chain->seamSoftener.delayFadeIn(delayFrames);
        const auto& gainOf = link.callbacks->captureGainDBForOutputDeviceUID;
        if (gainOf) chain->seamSoftener.setGain(gainOf(uid), false);
    };
    result.onOutputDeviceResolved = [link](const std::string& uid) {
        link.post([uid](State& state) { state.outputDeviceUID.set(uid); });
    };
    result.onOutputDeviceUIDChanged = [link](const std::string& uid) {
        link.ifCurrent([&](State&) {
            if (link.callbacks->onOutputDeviceUIDChanged) link.callbacks->onOutputDeviceUIDChanged(uid);
        });
    };
    result.onCaptureRestartFailed = [link](const CoreAudioTapCaptureError& error) {
        link.ifCurrent([&](State& state) {
            state.outputDeviceUID.set({});
            if (link.callbacks->onCaptureRestartFailed) link.callbacks->onCaptureRestartFailed(error);
        });
    };
    result.onCaptureRestartSeam = [link] {
        link.post([](State& state) { state.outputDeviceUID.set({}); }); // until a device is resolved again
        // The ring buffer belongs to the capture queue; waiting keeps the seam ahead of the next buffer.
        link.captureQueue.sync([&] {
            if (const auto chain = link.chain.lock()) chain->markSeam();
        });
    };
    return result;
}

void Rewindle::stop(std::function<void()> completion) {
    const auto run = std::exchange(state_->run, nullptr);
    const auto& services = state_->services;
    // The run is held on its way, because it must be ended even when the engine goes meanwhile.
    state_->onCaptureQueue([run, weak = std::weak_ptr(state_), &controlQueue = services.controlQueue,
                            &mainQueue = services.mainQueue,
                            completion = std::move(completion)](CaptureChain& chain) {
        chain.fetchEnd(); // keeps what was played up to the stop, unless it is frozen already
        chain.setFrozen(true);
        chain.follow(nullptr);
        controlQueue.async([run, weak, &mainQueue, completion] {
            if (run) run->end();
            mainQueue.async([weak, completion] {
                if (!weak.expired() && completion) completion();
            });
        });
    });
    state_->isFrozen.set(true);
    state_->isRunning.set(false);
    state_->outputDeviceUID.set({});
}

} // namespace rewindle
