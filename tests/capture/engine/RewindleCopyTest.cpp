#include "capture/engine/EngineFixture.h"

namespace rewindle::test {
namespace {

using testing::ElementsAre;

using RewindleCopyTest = EngineFixture;

TEST_F(RewindleCopyTest, ChangesTheDurationTwiceAndKeepsTheNewestAudioUnderItsFrameNumbers) {
    std::vector<std::pair<std::uint64_t, std::int64_t>> seen;
    const auto observation = engine->ringBufferRevision().observe(
        [&] { seen.emplace_back(engine->ringBufferRevision().get(), ring().durationSeconds); });
    int completed = 0;
    start();
    play(std::size_t{45} * 48'000);
    engine->setDuration(RecordingDuration::thirtySeconds,
                        [&](bool isDone) { completed += isDone; }); // as it is: nothing happens
    engine->setDuration(RecordingDuration::oneMinute, [&](bool isDone) { completed += isDone; });
    deliver();
    play(100); // waits in the device while the buffer is replaced
    engine->setDuration(RecordingDuration::fortyFiveSeconds, [&](bool isDone) { completed += isDone; });
    deliver();
    EXPECT_EQ(completed, 3);
    EXPECT_THAT(seen, ElementsAre(std::pair(1U, 60), std::pair(2U, 45)));
    EXPECT_EQ(hardware.starts(), 1) << "capture was torn down";
    EXPECT_EQ(ring().info(), (WaveformInfo{45 * 48'000 + 100, 100}));
    EXPECT_EQ(left(), ramp(std::size_t{45} * 48'000, 100));
}

TEST_F(RewindleCopyTest, WhatWasPlayedBeforeAFreezeOrItsEndIsKeptOrDroppedAsItWasThen) {
    start();
    play(100);
    engine->setFrozen(true);
    queues.settle();
    EXPECT_TRUE(ring().isFrozen());
    play(10);
    engine->setFrozen(false);
    queues.settle();
    EXPECT_FALSE(ring().isFrozen());
    play(1);
    copyAll();
    queues.settle();
    EXPECT_EQ(copies.at(0).size(), 101U);
    EXPECT_EQ(copies[0].back(), 110);
}

TEST_F(RewindleCopyTest, ALongCopyIsWhatWasHeldWhateverComesBetweenItsPieces) {
    constexpr std::size_t kAll = std::size_t{30} * 48'000;
    const struct {
        const char* scenario;
        std::function<void()> meanwhile; // behind the first piece
        std::int64_t framesWritten;
    } cases[] = {
        {"nothing", [] {}, kAll},
        {"a little more", [this] { play(480); }, kAll + 480},
        {"more than fits", [this] { play(kAll + 4'800); }, 2 * kAll + 4'800},
        {"a freeze", [this] { engine->setFrozen(true), play(480); }, kAll + 480},
        {"a longer buffer", [this] { engine->setDuration(RecordingDuration::oneMinute), play(480); }, kAll + 480},
        {"the end of the run", [this] { engine->stop(); }, kAll},
    };
    for (const auto& [scenario, meanwhile, framesWritten] : cases) {
        SCOPED_TRACE(scenario);
        makeEngine(0);
        copies.clear();
        const auto first = played;
        start();
        play(1); // alone, so that no freed memory looks like the copy
        play(kAll - 1);
        copyAll();
        queues.capture.async([&, meanwhile = meanwhile] {
            EXPECT_FALSE(ring().isFrozen());
            meanwhile();
            hardware.wake();
        });
        queues.settle();
        ASSERT_EQ(copies.size(), 1U);
        EXPECT_TRUE(copies[0] == ramp(kAll, first));
        EXPECT_EQ(ring().totalFramesWritten(), framesWritten);
        EXPECT_EQ(ring().isFrozen(), engine->isFrozen().get());
    }
}

TEST_F(RewindleCopyTest, RefusesWhatThereIsNoMemoryForAndMoreThanThreeCopiesAndKeepsWhatIsHeld) {
    start();
    play(300);
    memory.largest = 1'000;
    copyAll();
    std::vector<bool> resized;
    engine->setDuration(RecordingDuration::oneMinute, [&](bool isDone) { resized.push_back(isDone); });
    queues.settle();
    EXPECT_THAT(refusals, ElementsAre(CopyRefusal::noMemory));
    EXPECT_THAT(resized, ElementsAre(false));
    memory.largest = SIZE_MAX;
    for (int i = 0; i < 5; ++i)
        copyAll();
    queues.settle();
    EXPECT_EQ(refusals, (std::vector{CopyRefusal::noMemory, CopyRefusal::tooManyCopies, CopyRefusal::tooManyCopies}));
    copyAll(); // the others have been taken
    queues.settle();
    EXPECT_EQ(copies, (std::vector<std::vector<float>>(4, ramp(300, 0))));
    EXPECT_EQ(ring().durationSeconds, 30);
    EXPECT_EQ(left(), ramp(300, 0));

    memory.largest = std::size_t{50} * 48'000 * sizeof(float); // for each of the two channels
    engine.emplace(
        RecordingDuration::tenMinutes, 0.0F,
        Rewindle::Services{hardware, queues.capture, queues.control, queues.main, queues.clock, memory, log, 77});
    EXPECT_EQ(ring().durationSeconds, 45);
}

TEST_F(RewindleCopyTest, StopsBehindACopyWithEverythingUntilThenKeptAsItIs) {
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
}

} // namespace
} // namespace rewindle::test
