#include "waveform/WaveformTimelineModel.h"

#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

constexpr std::int64_t kCapacity = 1'440'000; // 30 s
constexpr double kVisible = kCapacity;        // at zoom 1

/// The rhythm of a clock: the length of tick number `index`.
struct Rhythm {
    const char* name;
    double (*step)(int index);
};
const Rhythm kRhythms[] = {{"30 per second", [](int) { return 1.0 / 30; }},
                           {"60 per second", [](int) { return 1.0 / 60; }},
                           {"120 per second", [](int) { return 1.0 / 120; }},
                           {"irregular", [](int i) { return i % 3 == 0   ? 0.05
                                                            : i % 3 == 1 ? 0.004
                                                                         : 0.021; }}};

/// A timeline over a buffer into which audio comes in real time.
struct Session {
    explicit Session(const Rhythm& itsRhythm, double retainedSeconds = 0) : rhythm(itsRhythm) {
        recorded = retainedSeconds * 48'000;
        timeline.resetTimelineToBuffer(head(), oldest(), capacity);
    }
    [[nodiscard]] std::int64_t head() const { return static_cast<std::int64_t>(recorded); }
    [[nodiscard]] std::int64_t oldest() const { return std::max<std::int64_t>(0, head() - capacity); }

    void tick(double dt) {
        if (!frozen) recorded += dt * 48'000;
        timeline.advanceTimeline(dt, head(), oldest(), capacity, frozen);
        timeline.rearmLiveFollowIfAtEdge(false, capacity);
    }
    /// Ends at exactly that time, whatever the rhythm.
    void run(double seconds) {
        for (double left = seconds; left > 1e-9;) {
            const double dt = std::min(left, rhythm.step(ticks++));
            tick(dt);
            left -= dt;
        }
    }

    Rhythm rhythm;
    std::int64_t capacity = kCapacity;
    double recorded = 0;
    bool frozen = false;
    int ticks = 0;
    WaveformTimelineModel timeline;
};

TEST(WaveformTimelineModelTest, EveryRhythmOfTicksTakesTheSamePathInTime) {
    // Where the view and the head stand at the end of each scene, at 30 ticks per second first.
    std::vector<std::array<double, 2>> expected;
    for (const auto& rhythm : kRhythms) {
        SCOPED_TRACE(rhythm.name);
        std::vector<std::array<double, 2>> path;
        Session session(rhythm, 40);
        auto& timeline = session.timeline;
        const auto scene = [&](double seconds) {
            session.run(seconds);
            path.push_back({timeline.viewStartFrame, timeline.renderedHeadFrame});
        };
        const auto expectHeadAtItsPlace = [&] {
            const double shown = timeline.renderedHeadFrame - timeline.viewStartFrame;
            EXPECT_NEAR(shown / timeline.visibleFrames(kCapacity), 0.92, 1e-9);
        };
        scene(1.0); // follow
        expectHeadAtItsPlace();
        timeline.setZoom(4, 700, false, 800, kCapacity);
        scene(0.5);
        expectHeadAtItsPlace();
        timeline.followLive = false;
        timeline.pan(-200'000, kCapacity);
        scene(0.1); // on the way
        scene(2.0); // there
        session.frozen = true;
        timeline.pan(-100'000, kCapacity);
        scene(0.2);
        session.frozen = false;
        timeline.jumpToOldest(session.oldest());
        scene(3.0); // travelling with the oldest frame
        timeline.jumpToLiveEdge();
        scene(0.5);
        if (expected.empty()) expected = path;
        for (std::size_t i = 0; i < path.size(); ++i) {
            SCOPED_TRACE(i);
            // The head moves between ticks but is seen at ticks: they differ by no more than a tick of 1/30 s.
            EXPECT_NEAR(path[i][0], expected[i][0], 48'000.0 / 30);
            EXPECT_NEAR(path[i][1], expected[i][1], 48'000.0 / 30);
        }
    }
    // A still target is reached along exactly the same curve: 0.7 of the distance is left after 1/30 s.
    for (const int ticksPerStep : {1, 2, 4}) {
        WaveformTimelineModel timeline;
        timeline.setZoom(4, 0, true, 800, kCapacity);
        timeline.resetTimelineToBuffer(2 * kCapacity, kCapacity, kCapacity);
        timeline.followLive = false;
        timeline.moveStartTo(1.5 * kVisible, kCapacity);
        timeline.pan(100'000, kCapacity);
        for (int i = 0; i < ticksPerStep; ++i)
            timeline.advanceTimeline(1.0 / 30 / ticksPerStep, 2 * kCapacity, kCapacity, kCapacity, false);
        EXPECT_NEAR(timeline.viewStartFrame, 1.5 * kVisible + 30'000, 1e-3);
    }
}

TEST(WaveformTimelineModelTest, TheHeadEasesButSnapsOverMoreThanAScreenBackwardsAndToTheLastFrame) {
    struct Case {
        const char* what;
        double rendered;
        std::int64_t head;
        bool frozen;
        double expected;
    };
    const Case cases[] = {
        {"eases", 100'000, 101'000, false, 100'350},
        {"within a frame", 100'000.5, 100'001, false, 100'001},
        {"a whole screen", 0, kCapacity, false, 0.35 * kVisible},
        {"more than a screen", 0, kCapacity + 1, false, kVisible + 1},
        {"backwards", 500'000, 100, false, 100},
        {"frozen", 100'000, 101'000, true, 100'000},
        {"frozen, another buffer", 100'000, 50'000, true, 50'000},
    };
    for (const auto& c : cases) {
        WaveformTimelineModel timeline;
        timeline.renderedHeadFrame = c.rendered;
        timeline.advanceTimeline(1.0 / 30, c.head, 0, kCapacity, c.frozen);
        EXPECT_NEAR(timeline.renderedHeadFrame, c.expected, 1e-6) << c.what;
    }
    EXPECT_EQ(timelineStep(1000, 0), 1.0 / 30);
    EXPECT_EQ(timelineStep(1002, 1000), 0.1);
    EXPECT_EQ(timelineStep(1000.025, 1000), 1000.025 - 1000);
    EXPECT_EQ(timelineStep(999, 1000), 0);
}

TEST(WaveformTimelineModelTest, FollowsWithinAThresholdOfTheLiveEdge) {
    for (const auto& [thresholds, follows] : {std::pair(0.99, true), std::pair(1.01, false)}) {
        Session session(kRhythms[1], 40);
        session.timeline.viewStartFrameTarget -= thresholds * 0.005 * kVisible;
        EXPECT_EQ(session.timeline.rearmLiveFollowIfAtEdge(false, kCapacity), follows);
        EXPECT_EQ(session.timeline.followLive, follows);
    }
}

TEST(WaveformTimelineModelTest, AViewAtTheOldestEdgeTravelsWithItOnceTheBufferHasBeenFull) {
    for (const auto& rhythm : kRhythms) {
        SCOPED_TRACE(rhythm.name);
        Session session(rhythm, 28);
        auto& timeline = session.timeline;
        timeline.setZoom(0.92, 0, true, 800, kCapacity);
        session.run(0.1);
        EXPECT_EQ(timeline.viewStartFrame, 0); // less audio than fits
        timeline.setZoom(4, 0, true, 800, kCapacity);
        timeline.jumpToOldest(0);
        session.run(1);
        EXPECT_FALSE(timeline.holdingOldestRetentionEdge);
        EXPECT_EQ(timeline.viewStartFrame, 0);
        double before = 0;
        for (int i = 0; i < 500; ++i) {
            session.tick(rhythm.step(i));
            ASSERT_GE(timeline.viewStartFrame, before); // never back, never ahead of what is retained
            ASSERT_LE(timeline.viewStartFrame, static_cast<double>(session.oldest()));
            before = timeline.viewStartFrame;
        }
        EXPECT_TRUE(timeline.holdingOldestRetentionEdge);
        EXPECT_NEAR(timeline.viewStartFrame, static_cast<double>(session.oldest()), 48'000 * 0.15);
        timeline.pan(0.5 * timeline.visibleFrames(kCapacity), kCapacity);
        session.run(0.1);
        EXPECT_FALSE(timeline.holdingOldestRetentionEdge);
        timeline.moveStartTo(static_cast<double>(session.oldest()), kCapacity); // and does not swing back from there
        session.tick(1.0 / 60);
        EXPECT_NEAR(timeline.viewStartFrame, static_cast<double>(session.oldest()), 800);
    }
}

TEST(WaveformTimelineModelTest, OnlyAPausedViewMayRestLeftOfTheOldestFrame) {
    struct Case {
        bool paused, holding, filledOnce;
        double lowest;
    };
    // Wide open, the live edge's place lags behind the oldest frame as the drawn head does behind the newest.
    const Case cases[] = {{true, false, true, 497'000},
                          {true, true, false, 497'000},
                          {true, true, true, 500'000},
                          {false, false, true, 500'000}};
    for (const auto& c : cases) {
        WaveformTimelineModel timeline;
        timeline.liveFollowManuallyPaused = c.paused;
        timeline.holdingOldestRetentionEdge = c.holding;
        timeline.renderedHeadFrame = c.filledOnce ? kVisible : kVisible - 1;
        timeline.cachedLiveMaxStart = 497'000;
        timeline.cachedOldestStart = 500'000;
        EXPECT_EQ(timeline.clampedStart(5, kCapacity), c.lowest);
        EXPECT_EQ(timeline.clampedStart(1e9, kCapacity), 500'000);
    }
}

TEST(WaveformTimelineModelTest, ZoomsAboutTheAnchorWithinTheLimits) {
    constexpr double kWidth = 800;
    Session session(kRhythms[1], 300);
    auto& timeline = session.timeline;
    const auto frameAt = [&](double x) {
        return timeline.viewStartFrame + x / kWidth * timeline.visibleFrames(kCapacity);
    };
    timeline.setZoom(8, 0, true, kWidth, kCapacity);
    session.run(1);
    timeline.followLive = false;
    for (const double x : {0.0, 123.0, 800.0}) {
        timeline.moveStartTo(timeline.cachedOldestStart + 0.5 * kVisible, kCapacity);
        const double anchor = frameAt(x);
        ASSERT_TRUE(timeline.setZoom(31, x, false, kWidth, kCapacity));
        EXPECT_NEAR(frameAt(x), anchor, 1e-3) << x;
        const double centre = frameAt(kWidth / 2);
        ASSERT_TRUE(timeline.setZoom(8, x, true, kWidth, kCapacity));
        EXPECT_NEAR(frameAt(kWidth / 2), centre, 1e-3);
        EXPECT_EQ(timeline.viewStartFrameTarget, timeline.viewStartFrame);
    }
    // Wide open and just left of the live edge, zooming in stays where it is instead of following again.
    timeline.setZoom(1, 0, false, kWidth, kCapacity);
    timeline.moveStartTo(timeline.cachedOldestStart, kCapacity);
    const double anchor = frameAt(200);
    timeline.setZoom(2, 200, false, kWidth, kCapacity);
    EXPECT_FALSE(timeline.rearmLiveFollowIfAtEdge(false, kCapacity));
    EXPECT_NEAR(frameAt(200), anchor, 1e-3);

    const std::array<double, 2> limits[] = {{0.1, 0.92}, {1e6, 32}, {0.92, 0.92}, {32, 32}, {5, 5}};
    for (const auto& [asked, got] : limits)
        EXPECT_EQ(clampedZoom(asked, kCapacity), got);
    EXPECT_EQ(clampedZoom(1e6, 0), 32);
    EXPECT_EQ(clampedZoom(1e6, 28'800'000), 640);
    timeline.setZoom(100, 0, false, kWidth, kCapacity);
    EXPECT_FALSE(timeline.setZoom(200, 0, false, kWidth, kCapacity)); // already as far as it goes
}

TEST(WaveformTimelineModelTest, AnotherCapacityKeepsTheVisibleSpanAndFollowsAgain) {
    const std::array<double, 4> cases[] = {// seconds before, zoom, seconds after, zoom
                                           {60, 4, 600, 40},
                                           {600, 40, 60, 4},
                                           {600, 2, 30, 0.92},
                                           {30, 32, 30, 32},
                                           {0, 5, 30, 5}};
    for (const auto& [before, zoom, after, expected] : cases) {
        WaveformTimelineModel timeline;
        timeline.xAxisMultiplier = zoom;
        timeline.followLive = false;
        timeline.liveFollowManuallyPaused = true;
        const auto capacity = static_cast<std::int64_t>(after * 48'000);
        timeline.rescaleZoomForCapacity(static_cast<std::int64_t>(before * 48'000), capacity);
        timeline.resetTimelineToBuffer(10 * capacity, 9 * capacity, capacity);
        EXPECT_NEAR(timeline.xAxisMultiplier, expected, 1e-9);
        EXPECT_TRUE(timeline.followLive);
        timeline.viewStartFrameTarget = 0; // and it can be panned away
        timeline.rearmLiveFollowIfAtEdge(false, capacity);
        EXPECT_FALSE(timeline.followLive);
    }
}

TEST(WaveformTimelineModelTest, AResetShowsWhatIsRetainedWithoutEasing) {
    WaveformTimelineModel timeline;
    timeline.followLive = false;
    timeline.xAxisMultiplier = 4;
    const std::array<double, 2> cases[] = {// target, start: before the oldest frame, inside, beyond the live edge
                                           {5, kVisible},
                                           {1.5 * kVisible, 1.5 * kVisible},
                                           {9 * kVisible, 2 * kVisible - 0.92 * kVisible / 4}};
    for (const auto& [target, start] : cases) {
        timeline.viewStartFrameTarget = target;
        timeline.resetTimelineToBuffer(2 * kCapacity, kCapacity, kCapacity);
        EXPECT_EQ(timeline.renderedHeadFrame, 2 * kVisible);
        EXPECT_EQ(timeline.viewStartFrame, start);
        EXPECT_EQ(timeline.viewStartFrameTarget, start);
        EXPECT_EQ(timeline.renderedOldestStart, start);
    }
}

} // namespace
} // namespace rewindle::test
