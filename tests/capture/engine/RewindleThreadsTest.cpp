#include "base/ThreadSerialQueue.h"
#include "capture/engine/Rewindle.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAudioHardware.h"
#include "fakes/HeapAudioMemory.h"

#include <gmock/gmock.h>

#include <future>
#include <latch>
#include <numeric>

namespace rewindle::test {
namespace {

constexpr AudioObjectID kSpeakers = 50, kHeadphones = 51;

/// An engine on real queues, with an interface thread of its own and a program that plays beside it.
class RewindleThreads : public testing::Test {
protected:
    RewindleThreads() {
        hardware.setDeliveryPace(DeliveryPace::live);
        onInterface([&] { makeEngine(); });
    }
    ~RewindleThreads() override {
        onInterface([&] { engine.reset(); });
        EXPECT_EQ(hardware.liveObjects(), 0U);
        EXPECT_THAT(hardware.violations(), testing::IsEmpty());
    }

    void makeEngine() {
        engine.emplace(RecordingDuration::oneMinute, 0.0F,
                       Rewindle::Services{hardware, captureQueue, controlQueue, mainQueue, clock, memory, log, 77});
    }
    void onInterface(const std::function<void()>& work) { mainQueue.sync(work); }
    void startAndWait() {
        std::promise<void> runs;
        onInterface([&] {
            Rewindle::Callbacks callbacks;
            callbacks.captureGainDBForOutputDeviceUID = [](const std::string&) { return 0.0F; };
            callbacks.onOutputDeviceUIDChanged = [this, &runs](const std::string&) {
                if (devicesSeen++ == 0) runs.set_value();
            };
            engine->start(std::move(callbacks));
        });
        runs.get_future().wait();
    }
    void drainAndWait() {
        std::promise<void> drained;
        onInterface([&] { engine->drain([&] { drained.set_value(); }); });
        drained.get_future().wait();
    }
    /// Plays one long ramp in blocks of odd sizes.
    void play(int blocks) {
        std::int64_t next = 0;
        for (int block = 0; block < blocks; ++block) {
            std::vector<float> samples(static_cast<std::size_t>(37 + 113 * (block % 11)));
            std::iota(samples.begin(), samples.end(), static_cast<float>(next));
            next += static_cast<std::int64_t>(samples.size());
            hardware.play(samples, samples);
        }
        played = next;
    }

    SystemClock clock;
    CapturingLogSink log;
    HeapAudioMemory memory;
    ThreadSerialQueue captureQueue{"com.rewindle.audio"}, controlQueue{"com.rewindle.audio.control"};
    ThreadSerialQueue mainQueue{"main"}, exportQueue{"export"};
    FakeAudioHardware hardware{controlQueue};
    std::optional<Rewindle> engine; // interface thread
    std::int64_t played = 0;
    std::atomic<int> devicesSeen = 0;
};

TEST_F(RewindleThreads, LosesNoFrameToCopiesAndChangesOfDurationWhileAudioIsPlayed) {
    startAndWait();
    std::jthread player([this] { play(1500); });
    std::vector<std::vector<float>> copies; // export queue
    for (int round = 0; round < 12; ++round) {
        std::latch made(1);
        onInterface([&] {
            const auto duration = round % 2 ? RecordingDuration::oneMinute : RecordingDuration::thirtySeconds;
            engine->setDuration(duration);
            engine->copyFrames(
                [](const WaveformInfo& held) { return std::pair(held.oldestFrame, held.totalFramesWritten); },
                exportQueue,
                [&](const CopyResult& copy) {
                    const auto& samples = copy.value();
                    copies.emplace_back(samples.left.data(), samples.left.data() + samples.left.size());
                    made.count_down();
                });
        });
        drainAndWait();
        made.wait();
    }
    player.join();
    for (std::size_t i = 0; i < copies.size(); ++i) {
        SCOPED_TRACE(i);
        std::vector<float> expected(copies[i].size());
        std::iota(expected.begin(), expected.end(), 0.0F);
        EXPECT_TRUE(copies[i] == expected) << "a gap or a tear in " << expected.size() << " frames";
        EXPECT_GE(copies[i].size(), i ? copies[i - 1].size() : 0U);
    }
    onInterface([&] {
        EXPECT_EQ(engine->ringBuffer().get()->totalFramesWritten(), played);
        EXPECT_EQ(engine->ringBufferRevision().get(), 12U);
    });
}

TEST_F(RewindleThreads, SurvivesRouteChangesFreezesGainsAndDurationsWhileAudioIsPlayed) {
    startAndWait();
    std::jthread player([this] { play(1000); });
    std::int64_t frames = 0;
    std::size_t round = 0;
    for (const auto device : {kHeadphones, kSpeakers, kHeadphones}) {
        const int before = devicesSeen;
        hardware.setDefaultDevice(device);
        hardware.fire(AudioProperty::hardwareDevices);
        for (; devicesSeen == before; ++round) {
            onInterface([&] {
                engine->setFrozen(round % 3 == 0);
                engine->setGain(static_cast<float>(round % 5), round % 2 == 0);
                engine->setDuration(kAllRecordingDurations[round % 3]);
                engine->levelMeter().advance(0.01);
                EXPECT_GE(engine->levelMeter().displayDB(0), -80) << "no number";
                EXPECT_GE(engine->levelMeter().recentLevels().displayDB[1], -80) << "no number";
                const auto now = engine->ringBuffer().get()->info().totalFramesWritten;
                EXPECT_GE(now, frames);
                frames = now;
            });
            drainAndWait();
        }
    }
    player.join();
    onInterface([&] { EXPECT_EQ(engine->outputDeviceUID().get(), "headphones"); });
}

TEST_F(RewindleThreads, StartsStopsAndEndsAtAnyMoment) {
    std::jthread player([this] { play(300); });
    for (int round = 0; round < 30; ++round) {
        onInterface([&] {
            engine->start({});
            if (round % 2) engine->drain([] {});
            engine->stop();
            engine->unfreeze();
            if (round % 3) engine->start({});
            if (round % 5) return;
            engine.reset(); // with all of it under way
            makeEngine();
        });
    }
}

} // namespace
} // namespace rewindle::test
