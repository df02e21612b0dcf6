#include "capture/Rewindle.h"
#include "fakes/AllocationCounter.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeAudioHardware.h"
#include "fakes/HeapAudioMemory.h"
#include "fakes/ManualQueues.h"

#include <gmock/gmock.h>

#include <limits>
#include <numeric>

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Call = FakeAudioHardware::Call;

constexpr AudioObjectID kSpeakers = 50, kHeadphones = 51;

/// Frames whose left samples count on from `first` and whose right samples are their negatives.
std::vector<float> ramp(std::size_t frames, std::int64_t first) {
    std::vector<float> samples(frames);
    std::iota(samples.begin(), samples.end(), static_cast<float>(first));
    return samples;
}
std::vector<float> negative(std::vector<float> samples) {
    for (auto& sample : samples)
        sample = -sample;
    return samples;
}
std::vector<float> values(const SampleArray& samples) {
    return {samples.data(), samples.data() + samples.size()};
}

/// An engine on two devices, of which the speakers are the default.
class RewindleTest : public testing::Test {
protected:
    RewindleTest() {
        hardware.addDevice(kSpeakers, "speakers");
        hardware.addDevice(kHeadphones, "headphones");
        hardware.setDefaultDevice(kSpeakers);
        makeEngine(0);
    }
    ~RewindleTest() override {
        engine.reset();
        EXPECT_EQ(hardware.liveObjects(), 0U);
        EXPECT_THAT(hardware.violations(), IsEmpty());
    }

    void makeEngine(float gainDb) {
        engine.reset();
        engine.emplace(RecordingDuration::thirtySeconds, gainDb,
                       Rewindle::Services{hardware, queues.capture, queues.control, queues.main, queues.clock,
                                          memory, log, 77});
    }
    Rewindle::Callbacks callbacks() {
        Rewindle::Callbacks result;
        result.onOutputDeviceUidChanged = [this](const std::string& uid) { told.push_back("device " + uid); };
        result.onCaptureStartFailed = [this](const auto& error) {
            told.push_back("start: " + error.message());
        };
        result.onCaptureRestartFailed = [this](const auto& error) {
            told.push_back("restart: " + error.message());
        };
        return result;
    }
    void start() {
        engine->start(callbacks());
        queues.settle();
    }
    /// Plays the next `frames` frames of the one long ramp; they wait in the device.
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
        hardware.setDefaultDevice(device);
        hardware.fire(AudioProperty::defaultOutputDevice);
        queues.runFor(100ms);
    }
    AudioRingBuffer& ring() { return *engine->ringBuffer().get(); }
    std::vector<float> left() {
        return values(ring().copyFrames(0, std::numeric_limits<std::int64_t>::max()).left);
    }
    /// A copy of everything held; its left samples appear in `copies` when it is done.
    void copyAll(std::function<void()> duringCopy = {}) {
        engine->copyFrames(
            [duringCopy](const WaveformInfo& held) {
                if (duringCopy) duringCopy();
                return std::pair(held.oldestFrame, held.totalFramesWritten);
            },
            queues.main,
            [this](StereoSamples samples) {
                EXPECT_EQ(values(samples.right), negative(values(samples.left)));
                copies.push_back(values(samples.left));
            });
    }

    ManualQueues queues;
    CapturingLogSink log;
    HeapAudioMemory memory;
    FakeAudioHardware hardware{queues.control};
    std::optional<Rewindle> engine;
    std::vector<std::string> told;
    std::vector<std::vector<float>> copies;
    std::int64_t played = 0;
};

TEST_F(RewindleTest, GainsAudioBeforeItIsMeteredAndStored) {
    makeEngine(-20);
    start();
    hardware.play(std::vector<float>(1000, 1.0F), std::vector<float>(1000, 0.1F));
    deliver();
    EXPECT_EQ(left(), std::vector<float>(1000, 0.1F));
    EXPECT_NEAR(engine->levelMeter().displayDb(0), -20, 1e-4);
    EXPECT_NEAR(engine->levelMeter().displayDb(1), -40, 1e-4);
}

TEST_F(RewindleTest, AppliesEachDevicesGainFromItsFirstBuffer) {
    auto withGains = callbacks();
    withGains.captureGainDbForOutputDeviceUid = [](const std::string& uid) {
        return uid == "speakers" ? -20.0F : 0.0F;
    };
    hardware.onStart = [&] { // audio comes before the start has even returned
        hardware.play({1, 1}, {1, 1});
        hardware.wake();
        queues.capture.runDue();
    };
    engine->start(withGains);
    queues.settle();
    EXPECT_THAT(left(), ElementsAre(0.1F, 0.1F));
    hardware.onStart = nullptr;
    switchTo(kHeadphones);
    hardware.play(std::vector<float>(1000, 1.0F), std::vector<float>(1000, 1.0F));
    deliver();
    EXPECT_EQ(left().back(), 1.0F);
    EXPECT_THAT(told, ElementsAre("device speakers", "device headphones"));
}

TEST_F(RewindleTest, LeavesItselfOutOfWhatItCaptures) {
    start();
    EXPECT_THAT(hardware.tapDescription().excludedProcesses, ElementsAre(77 + 1000));
}

TEST_F(RewindleTest, TellsWhereCaptureRunsAndForgetsItWhenItNoLongerDoes) {
    std::vector<std::string> seen;
    const auto observation =
        engine->outputDeviceUid().observe([&] { seen.push_back(engine->outputDeviceUid().get()); });
    start();
    start(); // does nothing
    EXPECT_EQ(hardware.starts(), 1);
    EXPECT_TRUE(engine->isRunning().get());
    hardware.refuse(Call::start, -110);
    hardware.fire(AudioProperty::defaultOutputDevice);
    queues.runFor(5s);
    EXPECT_EQ(told.back(), "restart: Failed to start system audio capture (error -110).");
    EXPECT_THAT(seen, ElementsAre("speakers", ""));
    hardware.allow(Call::start);
    queues.runFor(5s);
    EXPECT_THAT(seen, ElementsAre("speakers", "", "speakers"));
    engine->stop();
    EXPECT_FALSE(engine->isRunning().get());
    EXPECT_EQ(seen.back(), "");
}

TEST_F(RewindleTest, ChangesTheDurationTwiceAndKeepsTheNewestAudioUnderItsFrameNumbers) {
    std::vector<std::pair<std::uint64_t, std::int64_t>> seen;
    const auto observation = engine->ringBufferRevision().observe(
        [&] { seen.emplace_back(engine->ringBufferRevision().get(), ring().durationSeconds); });
    int completed = 0;
    start();
    play(45 * 48'000);
    engine->setDuration(RecordingDuration::thirtySeconds, [&] { ++completed; }); // as it is: nothing happens
    engine->setDuration(RecordingDuration::oneMinute, [&] { ++completed; });
    deliver();
    play(100); // waits in the device while the buffer is replaced
    engine->setDuration(RecordingDuration::fortyFiveSeconds, [&] { ++completed; });
    deliver();
    EXPECT_EQ(completed, 3);
    EXPECT_THAT(seen, ElementsAre(std::pair(1U, 60), std::pair(2U, 45)));
    EXPECT_EQ(hardware.starts(), 1) << "capture was torn down";
    EXPECT_EQ(ring().info(), (WaveformInfo{45 * 48'000 + 100, 100}));
    EXPECT_EQ(left(), ramp(45 * 48'000, 100));
}

TEST_F(RewindleTest, LosesNothingOfWhatIsPlayedDuringCopiesThatSpanEachOther) {
    start();
    play(1000);
    copyAll([this] { play(700); }); // comes while the copy is made
    copyAll([this] { play(1); });
    queues.settle();
    deliver();
    copyAll();
    queues.settle();
    EXPECT_THAT(copies, ElementsAre(ramp(1000, 0), ramp(1700, 0), ramp(1701, 0)));
}

TEST_F(RewindleTest, AFreezeOrItsEndAskedForDuringACopyTakesEffectAtTheCopysEnd) {
    const struct {
        const char* scenario;
        bool frozenBefore;
        std::vector<bool> askedDuringFirstCopy;
        bool frozenAfter;
        std::size_t framesInSecondCopy; // 100 before the copies, 10 in the first, 1 in the second
    } cases[] = {
        {"nothing asked", false, {}, false, 110},   {"nothing asked, frozen", true, {}, true, 100},
        {"freeze", false, {true}, true, 110},       {"unfreeze", true, {false}, false, 100},
        {"both", false, {true, false}, false, 110}, {"both, frozen", true, {false, true}, true, 100},
    };
    for (const auto& [scenario, frozenBefore, asked, frozenAfter, framesInSecondCopy] : cases) {
        SCOPED_TRACE(scenario);
        makeEngine(0);
        copies.clear();
        played = 0;
        start();
        play(100);
        engine->setFrozen(frozenBefore);
        copyAll([&, asked = asked] {
            play(10);
            for (const bool frozen : asked)
                engine->setFrozen(frozen);
        });
        queues.capture.runDue();
        copyAll([&] { play(1); });
        queues.settle();
        ASSERT_EQ(copies.size(), 2U);
        EXPECT_EQ(copies[0], ramp(100, 0));
        EXPECT_EQ(copies[1].size(), framesInSecondCopy);
        EXPECT_EQ(ring().isFrozen(), frozenAfter);
    }
}

TEST_F(RewindleTest, StopsBehindACopyWithEverythingUntilThenKeptAsItIs) {
    start();
    play(300);
    bool stopped = false;
    copyAll([&] {
        play(50);
        engine->stop([&] { stopped = true; });
    });
    queues.settle();
    EXPECT_TRUE(stopped);
    EXPECT_EQ(hardware.liveObjects(), 0U);
    EXPECT_TRUE(ring().isFrozen());
    EXPECT_EQ(copies.at(0), ramp(300, 0));
    EXPECT_EQ(left(), ramp(350, 0));
    queues.runFor(10s);
    EXPECT_EQ(left(), ramp(350, 0));

    engine->unfreeze();
    start();
    play(5);
    deliver();
    EXPECT_EQ(left(), ramp(355, 0));
}

TEST_F(RewindleTest, EndsTheOldTapBeforeAStartThatFollowsAStopAtOnce) {
    start();
    hardware.forgetCalls();
    int completed = 0;
    engine->stop([&] { ++completed; });
    engine->stop([&] { ++completed; });
    engine->unfreeze();
    start();
    EXPECT_EQ(completed, 2);
    EXPECT_THAT(hardware.calls(), ElementsAre("stop", "destroy proc", "destroy aggregate", "destroy tap",
                                              "create tap", "create aggregate", "create proc", "start"));
    EXPECT_TRUE(engine->isRunning().get());
    EXPECT_EQ(engine->outputDeviceUid().get(), "speakers");
    EXPECT_FALSE(ring().isFrozen());
}

TEST_F(RewindleTest, FadesOutTheEndOfWhatWasStoredAndFadesInWhatComesAfterARestart) {
    start();
    const std::vector<float> ones(1000, 1.0F);
    hardware.play(ones, ones); // waits in the device: what was played belongs to the time before the seam
    hardware.refuse(Call::start, -110);
    hardware.setDefaultDevice(kHeadphones);
    hardware.fire(AudioProperty::defaultOutputDevice);
    queues.runFor(1s); // three tries fail
    hardware.allow(Call::start);
    queues.runFor(1s);
    hardware.play(ones, ones);
    deliver();
    const auto stored = left();
    ASSERT_EQ(stored.size(), 2000U);
    for (std::size_t i = 0; i < 480; ++i) {
        ASSERT_NEAR(stored[520 + i], static_cast<float>(479 - i) / 479, 1e-6) << i;
        ASSERT_NEAR(stored[1000 + i], static_cast<float>(i + 1) / 480, 1e-6) << i;
    }
    EXPECT_EQ(stored[519], 1.0F);
    EXPECT_EQ(stored[999], 0.0F);
    EXPECT_EQ(stored[1480], 1.0F);
}

TEST_F(RewindleTest, FadesInAfterARestartThatCameBeforeAnyAudio) {
    start();
    switchTo(kHeadphones);
    hardware.play({1}, {1});
    deliver();
    EXPECT_THAT(left(), ElementsAre(1.0F / 480));
}

TEST_F(RewindleTest, RetriesAFirstStartEveryThreeSecondsAndReportsItOnce) {
    hardware.setDefaultDevice(kNoAudioObject);
    start();
    EXPECT_TRUE(engine->isRunning().get());
    EXPECT_EQ(engine->outputDeviceUid().get(), "");
    queues.runFor(8s);
    EXPECT_THAT(hardware.calls(), ElementsAre("create tap", "destroy tap", "create tap", "destroy tap",
                                              "create tap", "destroy tap"));
    EXPECT_THAT(told, ElementsAre("start: Failed to read Core Audio property (error 560227702)."));

    hardware.setDefaultDevice(kSpeakers);
    queues.runFor(3s);
    EXPECT_EQ(engine->outputDeviceUid().get(), "speakers");
    EXPECT_FALSE(queues.nextDue());

    engine->stop();
    hardware.setDefaultDevice(kNoAudioObject);
    start();
    EXPECT_EQ(told.size(), 3U) << "a device and a failure of the second start";
    engine->stop();
    queues.settle();
    hardware.forgetCalls();
    queues.runFor(10s);
    EXPECT_THAT(hardware.calls(), IsEmpty());
    EXPECT_FALSE(queues.nextDue());
}

TEST_F(RewindleTest, DrainsTheDeviceBeforeItAnswers) {
    start();
    play(1234);
    std::int64_t heldWhenDrained = 0;
    engine->drain([&] { heldWhenDrained = ring().totalFramesWritten(); });
    queues.settle();
    EXPECT_EQ(heldWhenDrained, 1234);
}

TEST_F(RewindleTest, AllocatesNothingPerBufferInTheLongRun) {
    for (const double rate : {48'000.0, 44'100.0}) {
        SCOPED_TRACE(rate);
        hardware.format.sampleRate = rate;
        makeEngine(6);
        start();
        const std::vector<float> tone(4096, 0.5F);
        const auto allocationsOfOneDelivery = [&] {
            hardware.play(tone, tone);
            std::uint64_t allocations = 0;
            queues.capture.sync([&] {
                const auto before = allocationsOfThisThread();
                hardware.deliverPending(hardware.aggregate());
                allocations = allocationsOfThisThread() - before;
            });
            return allocations;
        };
        allocationsOfOneDelivery(); // buffers grow to the size of the input once
        const auto before = ring().totalFramesWritten();
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(allocationsOfOneDelivery(), 0U);
        EXPECT_GT(ring().totalFramesWritten(), before + 20 * 4096 - 1);
    }
}

TEST_F(RewindleTest, AsksForLiveDeliveryWhileSomebodyLooks) {
    engine->setLive(true);
    EXPECT_EQ(hardware.pace(), DeliveryPace::live);
    engine->setLive(false);
    EXPECT_EQ(hardware.pace(), DeliveryPace::relaxed);
}

TEST_F(RewindleTest, TakesEverythingDownWhenDestroyedWithWorkStillWaiting) {
    start();
    play(10);
    const auto lateCycle = hardware.lastProc();
    hardware.fire(AudioProperty::defaultOutputDevice);
    engine->stop([&] { told.emplace_back("stopped"); });
    engine->start(callbacks());
    engine->setDuration(RecordingDuration::oneMinute, [&] { told.emplace_back("resized"); });
    engine->drain([&] { told.emplace_back("drained"); });
    told.clear();
    engine.reset();
    EXPECT_EQ(hardware.liveObjects(), 0U);
    const float sample = 1;
    const AudioBuffer list[] = {{1, sizeof sample, &sample}, {1, sizeof sample, &sample}};
    queues.capture.sync([&] { lateCycle(list); });
    queues.runFor(10s);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(hardware.liveObjects(), 0U);
}

} // namespace
} // namespace rewindle::test
