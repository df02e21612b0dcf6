#pragma once

#include "capture/engine/Rewindle.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAudioHardware.h"
#include "fakes/HeapAudioMemory.h"
#include "fakes/ManualQueues.h"

#include <gmock/gmock.h>

#include <limits>
#include <numeric>

namespace rewindle::test {

/// An engine on two devices, of which the speakers are the default.
class EngineFixture : public testing::Test {
protected:
    static constexpr AudioObjectID kSpeakers = 50, kHeadphones = 51;

    /// Samples that count on from `first`.
    static std::vector<float> ramp(std::size_t frames, std::int64_t first) {
        std::vector<float> samples(frames);
        std::iota(samples.begin(), samples.end(), static_cast<float>(first));
        return samples;
    }
    static std::vector<float> negative(std::vector<float> samples) {
        for (auto& sample : samples)
            sample = -sample;
        return samples;
    }
    static std::vector<float> values(const SampleArray& samples) {
        return {samples.data(), samples.data() + samples.size()};
    }

    EngineFixture() { makeEngine(0); }
    ~EngineFixture() override {
        engine.reset();
        EXPECT_EQ(hardware.liveObjects(), 0U);
        EXPECT_THAT(hardware.violations(), testing::IsEmpty());
    }

    void makeEngine(float gainDB) {
        engine.reset();
        engine.emplace(
            RecordingDuration::thirtySeconds, gainDB,
            Rewindle::Services{hardware, queues.capture, queues.control, queues.main, queues.clock, memory, log, 77});
    }
    Rewindle::Callbacks callbacks() {
        Rewindle::Callbacks result;
        result.onOutputDeviceUIDChanged = [this](const std::string& uid) { told.push_back("device " + uid); };
        result.onCaptureStartFailed = [this](const auto& error) { told.push_back("start: " + error.message()); };
        result.onCaptureRestartFailed = [this](const auto& error) { told.push_back("restart: " + error.message()); };
        return result;
    }
    void start() {
        engine->start(callbacks());
        queues.settle();
    }
    /// Plays the next `frames` frames of one long ramp, negative on the right; they wait in the device.
    void play(std::size_t frames) {
        const auto next = ramp(frames, played);
        hardware.play(next, negative(next));
        played += static_cast<std::int64_t>(frames);
    }
    void deliver() {
        hardware.wake();
        queues.settle();
    }
    void switchTo(AudioObjectID device) {
        hardware.switchTo(device);
        queues.runFor(std::chrono::milliseconds(100));
    }
    AudioRingBuffer& ring() { return *engine->ringBuffer().get(); }
    std::vector<float> left() { return values(ring().copyFrames(0, std::numeric_limits<std::int64_t>::max()).left); }
    /// A copy of everything held; its left samples appear in `copies` when it is done.
    void copyAll(const std::function<void()>& duringCopy = {}) {
        engine->copyFrames(
            [duringCopy](const WaveformInfo& held) {
                if (duringCopy) duringCopy();
                return std::pair(held.oldestFrame, held.totalFramesWritten);
            },
            queues.main,
            [this](const CopyResult& copy) {
                if (!copy) return refusals.push_back(copy.error());
                const auto& [left, right] = copy.value();
                EXPECT_EQ(values(right), negative(values(left)));
                copies.push_back(values(left));
            });
    }

    ManualQueues queues;
    CapturingLogSink log;
    HeapAudioMemory memory;
    FakeAudioHardware hardware{queues.control};
    std::optional<Rewindle> engine;
    std::vector<std::string> told;
    std::vector<std::vector<float>> copies;
    std::vector<CopyRefusal> refusals;
    std::int64_t played = 0;
};

} // namespace rewindle::test
