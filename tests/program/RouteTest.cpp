// Capture goes on when the output changes, disappears or was never there.

#include "program/Recorder.h"

#include <gtest/gtest.h>

#include <optional>

namespace rewindle::test {
namespace {

/// Checks that `before` ends in the clip with a straight line down to exactly nothing over 480 frames, whose first is at
/// full level. Returns where what comes after the cut begins; none when it does not end so.
std::optional<std::size_t> expectFadeOut(const Sound& clip, const Sound& before) {
    const auto begin = find(before.part(0, 4'800), clip);
    EXPECT_TRUE(begin) << "the sound before the cut is not there";
    if (!begin) return std::nullopt;
    std::size_t same = 0; // frames that are as they were played, the first of the fade among them
    while (same < before.frames() && clip.samples[2 * (*begin + same)] == before.samples[2 * same])
        ++same;
    const std::size_t faded = *begin + same;
    for (std::size_t i = 0; i < 479; ++i) {
        const float gain = static_cast<float>(478 - i) / 479.0F;
        EXPECT_FLOAT_EQ(clip.samples[2 * (faded + i)], before.samples[2 * (same + i)] * gain) << i;
        if (testing::Test::HasFailure()) return std::nullopt;
    }
    return faded + 479;
}

/// Checks that from frame `cut` on a straight line leads up over 480 frames into `after`, joined wherever it was then.
void expectFadeIn(const Sound& clip, std::size_t cut, const Sound& after) {
    const auto rest = find(after.part(after.frames() - 24'000, 24'000), clip, cut);
    ASSERT_TRUE(rest) << "the sound after the cut is not there";
    // Where the sound's first frame would be, perhaps before the clip's.
    const auto offset = static_cast<std::int64_t>(*rest) - static_cast<std::int64_t>(after.frames() - 24'000);
    for (std::size_t i = 0; i < 480; ++i) {
        const auto in = static_cast<std::int64_t>(cut + i) - offset;
        const float played = in < 0 ? 0.0F : after.samples[2 * static_cast<std::size_t>(in)];
        ASSERT_FLOAT_EQ(clip.samples[2 * (cut + i)], played * (static_cast<float>(i + 1) / 480.0F)) << i;
    }
}

// The session manager would have a player follow the default.
const std::string kStays = "-P '{ node.dont-reconnect=true }' --target ";

/// A program with two outputs to choose from, on each of which something else is heard.
struct TwoSounds {
    TwoSounds(const PrivateSession& session, const Recorder& recorder)
        : player(startPlaying(session, padded(onFirst), kStays + "first")),
          other(startPlaying(session, padded(onSecond), kStays + "second")) {
        EXPECT_TRUE(eventually([&] { return std::stod(recorder.status("left_hold_db")) > -20; }));
        EXPECT_TRUE(eventually([&] { return session.session("state", "second") == "running"; }));
        waitForCapture(recorder);
        before = recorder.retained();
    }
    Sound onFirst = noise(8, 1), onSecond = noise(8, 2), before;
    Process player, other;
};

TEST(Route, SwitchingTheDefaultSinkWhileSoundPlaysLeavesOneSoftSeam) {
    const PrivateSession session;
    session.addDefaultSink("first");
    session.session("add-sink", "second");
    const Recorder recorder(session);
    TwoSounds sounds(session, recorder);
    session.session("default-sink", "second");
    ASSERT_TRUE(eventually([&] { return recorder.status("device_uid") == "second" && recorder.isCapturing(); }));
    sounds.player.wait();
    sounds.other.wait();
    const auto clip = recorder.retained();
    EXPECT_EQ(find(sounds.before, clip), 0U) << "earlier audio was touched";
    const auto cut = expectFadeOut(clip, sounds.onFirst);
    ASSERT_TRUE(cut);
    expectFadeIn(clip, *cut, sounds.onSecond);
    EXPECT_EQ(
        recorder.logCount("Output route changed (default output device changed); restarting capture (attempt 1)."),
        1);
    EXPECT_EQ(recorder.logCount("restarting capture"), 1);
}

TEST(Route, CaptureMovesOnWhenTheActiveSinkIsUnpluggedAndIgnoresOtherSinks) {
    const PrivateSession session;
    session.addDefaultSink("second");
    session.addDefaultSink("first");
    const Recorder recorder(session);
    session.session("add-sink", "third");
    TwoSounds sounds(session, recorder);
    ASSERT_TRUE(eventually([&] { return recorder.logCount("nothing relevant moved; not restarting.") > 0; }));
    EXPECT_EQ(recorder.logCount("restarting capture"), 0);
    session.session("remove", "first");
    // The session manager's next choice is either of the two that are left.
    ASSERT_TRUE(eventually([&] { return recorder.isCapturing() && recorder.status("device_uid") != "first"; }));
    EXPECT_EQ(find(sounds.before, recorder.retained()), 0U) << "earlier audio was touched";
    waitForCapture(recorder);
}

TEST(Route, CaptureComesBackWhenTheServerIsKilledAndStartsAgain) {
    const PrivateSession session;
    session.addDefaultSink("out");
    const Recorder recorder(session, "", true);
    const auto early = noise(1, 7);
    play(session, padded(early));
    ASSERT_TRUE(find(early, recorder.retained()));
    const auto cutOff = noise(30, 8);
    auto playing = startPlaying(session, cutOff);
    ASSERT_TRUE(eventually([&] { return session.session("state", "out") == "running"; }));
    waitForCapture(recorder);
    const auto framesBefore = recorder.totalFrames();
    session.session("server-kill");
    // Six tries with pauses of 0.15 to 2 s, then the message; a new schedule begins 3 s later.
    ASSERT_TRUE(eventually(
        [&] { return recorder.status("last_error").find("It will retry automatically.") != std::string::npos; }, 15));
    EXPECT_EQ(recorder.logCount("Capture restart failed (attempt 6)"), 1);
    EXPECT_EQ(recorder.logCount("Output route changed (active output device disconnected)"), 1);
    EXPECT_FALSE(recorder.isCapturing());
    session.session("server-start");
    session.addDefaultSink("out");
    ASSERT_TRUE(eventually([&] { return recorder.isCapturing(); }, 15));
    EXPECT_EQ(recorder.status("last_error"), "");
    EXPECT_GE(recorder.totalFrames(), framesBefore);
    const int restarts = recorder.logCount("restarting capture");
    waitForCapture(recorder);
    const auto late = noise(1, 9);
    play(session, padded(late));
    const auto clip = recorder.retained();
    const auto first = find(early, clip);
    ASSERT_TRUE(first) << "earlier audio was touched";
    EXPECT_TRUE(find(late, clip, *first));
    EXPECT_TRUE(expectFadeOut(clip, cutOff));
    EXPECT_EQ(recorder.logCount("restarting capture"), restarts) << "capture that runs was cut again";
}

TEST(Route, AnotherActivePortOfTheSoundCardIsARestartAndWhatElseChangesOnItIsNone) {
    const PrivateSession session;
    session.session("add-card", REWINDLE_SOUND_CARD " jack out:1:hdmi out:0:speaker in:0:microphone");
    session.session("default-sink", "jack");
    const Recorder recorder(session);
    const auto portChanges = [&] {
        return recorder.logCount(
            "Output route changed (output data source changed); restarting capture (attempt 1).");
    };
    session.session("card-routes", "out:1:display out:0:speaker in:0:headset");
    session.session("card-routes", "out:1:display out:0:headphones in:0:headset");
    ASSERT_TRUE(eventually([&] { return portChanges() == 1; }));
    session.session("card-routes", "out:0:speaker");
    ASSERT_TRUE(eventually([&] { return portChanges() == 2; }));
    waitForCapture(recorder);
    EXPECT_EQ(recorder.logCount("outputDataSource property fired"), 2);
    EXPECT_EQ(recorder.logCount("restarting capture"), 2);
    const auto sound = noise(0.5, 15);
    play(session, padded(sound));
    EXPECT_TRUE(find(sound, recorder.lastSeconds(5)));
}

TEST(Route, WhereAPassiveTapNeverRunsItIsLinkedActivelyRatherThanRecordNothing) {
    const PrivateSession session;
    session.addDefaultSink("out");
    const Recorder recorder(
        session, RecorderStart{.arguments = "--headless", .variables = "LD_PRELOAD=" REWINDLE_SLEEPING_TAP});
    ASSERT_TRUE(eventually([&] { return session.session("state", "out") == "suspended"; }))
        << "the tap is not asleep";
    play(session, noise(4, 13)); // who is not heard for 2 s
    EXPECT_EQ(recorder.logCount("the output device runs, but its monitor gives nothing"), 1);
    ASSERT_TRUE(eventually([&] { return recorder.isCapturing(); }));
    waitForCapture(recorder);
    const auto sound = noise(1, 14);
    play(session, padded(sound));
    EXPECT_TRUE(find(sound, recorder.lastSeconds(5)));
    EXPECT_EQ(recorder.logCount("restarting capture"), 1);
}

TEST(Route, CaptureBeginsByItselfOnceThereIsAServerAndAnOutput) {
    struct Case {
        bool server;
        std::string message;
    };
    for (const Case& test : {Case{false, "Failed to create system audio tap (error "},
                             Case{true, "Failed to read Core Audio property (error 560227702)."}}) {
        SCOPED_TRACE(test.message);
        const PrivateSession session;
        if (!test.server) session.session("server-kill");
        const Recorder recorder(session, "", false);
        ASSERT_TRUE(eventually([&] { return recorder.status("last_error").starts_with(test.message); }));
        EXPECT_FALSE(recorder.isCapturing());
        if (!test.server) session.session("server-start");
        session.addDefaultSink("out");
        EXPECT_TRUE(eventually([&] { return recorder.isCapturing(); }, 4));
        EXPECT_EQ(recorder.logCount("(error "), 1) << "the message comes once";
        EXPECT_EQ(recorder.status("last_error"), "");
        waitForCapture(recorder);
        const auto sound = noise(0.5, 10);
        play(session, padded(sound));
        EXPECT_TRUE(find(sound, recorder.lastSeconds(5)));
    }
}

TEST(Route, NothingIsEverCapturedFromAMicrophone) {
    const PrivateSession session;
    session.addDefaultSink("out");
    session.session("add-source", "mic");
    const Recorder recorder(session);
    const auto voice = startPlaying(session, noise(60, 11), "--target 0 -P '{ node.name=voice }'");
    ASSERT_TRUE(eventually([&] { return session.run("pw-link voice:output_FL mic:input_FL").exitCode == 0; }));
    ASSERT_TRUE(eventually([&] { return session.session("state", "mic") == "running"; }));

    // Somebody moves the tap as a mixer would, links the microphone by hand, and takes every sink away.
    std::ignore = session.run("pw-metadata " + nodeId("rewindle-tap") + " target.object " + nodeId("mic"));
    ASSERT_EQ(session.run("pw-link mic:capture_FL rewindle-tap:input_FL").exitCode, 0);
    ASSERT_TRUE(eventually([&] { return recorder.logCount("restarting capture") >= 1; }));
    ASSERT_TRUE(eventually([&] { return recorder.isCapturing(); }));
    waitForCapture(recorder);
    const auto sound = noise(0.5, 12);
    play(session, padded(sound));
    EXPECT_TRUE(find(sound, recorder.lastSeconds(5)));

    session.session("remove", "out");
    ASSERT_TRUE(eventually([&] { return !recorder.isCapturing(); }));
    ASSERT_TRUE(eventually([&] { return recorder.logCount("Capture restart failed (attempt 3)") >= 1; }));
    session.addDefaultSink("out");
    ASSERT_TRUE(eventually([&] { return recorder.isCapturing(); }, 15));
    // Only the one sound was on an output: take it out, and what is left is silence.
    auto clip = recorder.retained();
    const auto at = find(sound, clip);
    ASSERT_TRUE(at);
    EXPECT_EQ(peak(clip, 0, *at), 0);
    EXPECT_EQ(peak(clip, *at + sound.frames(), clip.frames()), 0);
}

} // namespace
} // namespace rewindle::test
