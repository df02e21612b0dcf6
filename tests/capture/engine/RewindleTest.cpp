#include "capture/engine/EngineFixture.h"
#include "capture/signal/SampleRateConverter.h"
#include "fakes/AllocationCounter.h"

namespace rewindle::test {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using Call = FakeAudioHardware::Call;

using RewindleTest = EngineFixture;

TEST_F(RewindleTest, EndsTheOldTapBeforeAStartThatFollowsAStopAtOnce) {
    start();
    int completed = 0;
    engine->stop([&] { ++completed; });
    engine->stop([&] { ++completed; });
    EXPECT_FALSE(engine->isRunning().get());
    EXPECT_EQ(engine->outputDeviceUID().get(), "");
    engine->unfreeze();
    start();
    start(); // does nothing
    EXPECT_EQ(completed, 2);
    EXPECT_EQ(hardware.starts(), 2);
    EXPECT_TRUE(engine->isRunning().get());
    EXPECT_EQ(engine->outputDeviceUID().get(), "speakers");
    EXPECT_THAT(hardware.tapDescription().excludedProcesses, ElementsAre(77 + 1000)); // leaves itself out
    EXPECT_FALSE(ring().isFrozen());
}

TEST_F(RewindleTest, HearsNothingMoreFromARunThatWasStopped) {
    engine->start(callbacks());
    queues.capture.runDue();
    queues.control.runDue();
    EXPECT_EQ(hardware.starts(), 1);
    engine->stop(); // before the interface thread learns of the start
    queues.settle();
    EXPECT_EQ(engine->outputDeviceUID().get(), "");
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(RewindleTest, EndsWithTheLastFrameHeardAndFadesInFromTheFirstAtEveryRateHoweverManyTriesItTakes) {
    for (const std::int64_t rate : {8'000, 44'100, 96'000}) {
        SCOPED_TRACE(rate);
        makeEngine(0);
        hardware.setDefaultDevice(kSpeakers);
        hardware.format.sampleRate = static_cast<double>(rate);
        start();
        const std::vector<float> ones(static_cast<std::size_t>(rate / 10), 1.0F);
        hardware.play(ones, ones);
        hardware.refuse(Call::start, -110);
        hardware.switchTo(kHeadphones);
        queues.runFor(1s); // three tries fail
        hardware.allow(Call::start);
        queues.runFor(1s);
        hardware.play(ones, ones);
        deliver();

        // The same sound through a converter alone, with enough silence behind it to bring out its end.
        SampleRateConverter converter(rate, 48'000);
        std::vector<float> input = ones, whole(20'000), other(20'000);
        input.resize(2 * ones.size());
        StereoInput source{input.data(), input.data(), std::ssize(input)};
        converter.process(source, whole.data(), other.data(), 20'000);
        const auto delay = static_cast<std::size_t>(converter.delayFrames());
        const std::size_t seam = 4'800 + delay;
        const auto stored = left();
        ASSERT_EQ(stored.size(), seam + 4'800);
        for (std::size_t i = 0; i < 480; ++i)
            ASSERT_NEAR(stored[seam - 480 + i], whole[seam - 480 + i] * static_cast<float>(479 - i) / 479, 1e-5) << i;
        for (std::size_t i = 0; i < 4'800; ++i) {
            const auto step = i < delay ? 0.0F : std::min(static_cast<float>(i - delay + 1), 480.0F);
            ASSERT_NEAR(stored[seam + i], whole[i] * (step / 480), 1e-6) << i;
        }
        engine->stop();
        queues.settle();
        const auto stopped = left();
        ASSERT_EQ(stopped.size(), 2 * seam) << "a stop keeps the end, too";
        EXPECT_NEAR(stopped.back(), whole[seam - 1], 1e-6);
    }
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
    EXPECT_EQ(engine->outputDeviceUID().get(), "");
    queues.runFor(8s);
    EXPECT_EQ(queues.nextDue(), queues.clock.uptime() + 1s);
    EXPECT_THAT(told, ElementsAre("start: Failed to read Core Audio property (error 560227702)."));

    hardware.setDefaultDevice(kSpeakers);
    queues.runFor(3s);
    EXPECT_EQ(engine->outputDeviceUID().get(), "speakers");
    EXPECT_FALSE(queues.nextDue());

    engine->stop();
    hardware.setDefaultDevice(kNoAudioObject);
    start();
    EXPECT_EQ(told.size(), 3U) << "a device and a failure of the second start";
    engine->stop();
    queues.settle();
    EXPECT_FALSE(queues.nextDue()) << "a try still waits";
}

TEST_F(RewindleTest, AllocatesNothingPerBufferOnceTheFirstHasCome) {
    hardware.bufferFrames = 64; // the second is faded in still
    for (const double rate : {48'000.0, 44'100.0, 44'099.0, 96'000.0}) {
        SCOPED_TRACE(rate);
        hardware.format.sampleRate = rate;
        makeEngine(6);
        start();
        switchTo(kHeadphones);
        const auto allocationsOfDelivering = [&](std::size_t frames) {
            hardware.play(std::vector<float>(frames, 0.5F), std::vector<float>(frames, 0.5F));
            std::uint64_t allocations = 0;
            queues.capture.sync([&] {
                const auto before = allocationsOfThisThread();
                hardware.deliverPending(hardware.aggregate());
                allocations = allocationsOfThisThread() - before;
            });
            return allocations;
        };
        allocationsOfDelivering(64);
        const auto before = ring().totalFramesWritten();
        for (int i = 0; i < 20; ++i) {
            EXPECT_EQ(allocationsOfDelivering(4096), 0U);
            engine->setGain(static_cast<float>(i), true);
        }
        EXPECT_GE(ring().totalFramesWritten(), before + 20 * 4096 / 2) << "nothing came";
    }
    const auto before = allocationsOfThisThread();
    ::operator delete(::operator new(1));
    EXPECT_GT(allocationsOfThisThread(), before) << "the counter does not count";
}

TEST_F(RewindleTest, TakesEverythingDownWhenDestroyedWithWorkStillWaiting) {
    start();
    play(10);
    const auto lateCycle = hardware.lastProc();
    hardware.fire(AudioProperty::defaultOutputDevice);
    engine->stop([&] { told.emplace_back("stopped"); });
    engine->start(callbacks());
    engine->setDuration(RecordingDuration::oneMinute, [&](bool) { told.emplace_back("resized"); });
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
