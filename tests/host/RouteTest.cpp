// Capture goes on when the output changes, disappears or was never there.

#include "host/Recorder.h"

#include <gtest/gtest.h>

#include <csignal>

namespace rewindle::test {
namespace {

constexpr const char* kNoServer = "Failed to create system audio tap (error ";

/// A stretch of the clip is the sound, from `soundFirst` on, faded at the end the way a seam is.
void expectSeam(const Sound& clip, const Sound& before, const Sound& after) {
    const auto begin = find(before.part(0, 4'800), clip);
    ASSERT_TRUE(begin);
    // Up to where is it the sound as it was played?
    std::size_t same = 0;
    while (same < before.frames() && clip.samples[2 * (*begin + same)] == before.samples[2 * same])
        ++same;
    const std::size_t seam = *begin + same; // first frame of the fade-out that the fade changed
    // A straight line down to exactly nothing over 480 frames, whose first frame is at full level.
    for (std::size_t i = 0; i < 479; ++i) {
        const float gain = static_cast<float>(478 - i) / 479.0F;
        ASSERT_FLOAT_EQ(clip.samples[2 * (seam + i)], before.samples[2 * (same + i)] * gain) << i;
    }
    // Then a straight line up over 480 frames, into what is heard on the new route, which we may have joined
    // late.
    const auto rest = find(after.part(after.frames() - 24'000, 24'000), clip, seam);
    ASSERT_TRUE(rest);
    const std::size_t fadeIn = seam + 479;
    // Where the sound's first frame would be, perhaps before the clip's.
    const auto offset = static_cast<std::int64_t>(*rest) - static_cast<std::int64_t>(after.frames() - 24'000);
    for (std::size_t i = 0; i < 480; ++i) {
        const auto in = static_cast<std::int64_t>(fadeIn + i) - offset;
        const float played = in < 0 ? 0.0F : after.samples[2 * static_cast<std::size_t>(in)];
        ASSERT_FLOAT_EQ(clip.samples[2 * (fadeIn + i)], played * (static_cast<float>(i + 1) / 480.0F)) << i;
    }
}

TEST(Route, SwitchingTheDefaultSinkWhileSoundPlaysLeavesOneSoftSeam) {
    const PrivateSession session;
    session.addDefaultSink("first");
    session.session("add-sink", "second");
    const Recorder recorder(session);
    const auto onFirst = noise(8, 1);
    const auto onSecond = noise(8, 2);
    // The session manager would have them follow the default.
    auto player = startPlaying(session, padded(onFirst), "-P '{ node.dont-reconnect=true }' --target first");
    auto other = startPlaying(session, padded(onSecond), "-P '{ node.dont-reconnect=true }' --target second");
    ASSERT_TRUE(eventually([&] { return std::stod(recorder.status("left_hold_db")) > -20; }));
    ASSERT_TRUE(eventually([&] { return session.session("state", "second") == "running"; }));
    const auto before = recorder.retained();
    const auto framesBefore = recorder.totalFrames();
    session.session("default-sink", "second");
    ASSERT_TRUE(eventually([&] { return recorder.status("device_uid") == "second" && recorder.isCapturing(); }));
    player.wait();
    other.wait();
    const auto clip = recorder.retained();
    EXPECT_GT(recorder.totalFrames(), framesBefore);
    EXPECT_EQ(find(before, clip), 0U) << "earlier audio was touched";
    expectSeam(clip, onFirst, onSecond);
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
    auto player = startPlaying(session, noise(3, 5));
    ASSERT_TRUE(eventually([&] { return session.session("state", "first") == "running"; }));
    ASSERT_TRUE(eventually([&] { return recorder.logCount("nothing relevant moved; not restarting.") > 0; }));
    EXPECT_EQ(recorder.logCount("restarting capture"), 0);
    const auto framesBefore = recorder.totalFrames();
    session.session("remove", "first");
    ASSERT_TRUE(eventually([&] { return recorder.isCapturing() && recorder.status("device_uid") != "first"; }));
    EXPECT_GE(recorder.totalFrames(), framesBefore);
    session.session("default-sink", "second");
    ASSERT_TRUE(eventually([&] { return recorder.isCapturing() && recorder.status("device_uid") == "second"; }));
    player.end();
    waitForCapture(recorder);
    const auto sound = noise(0.5, 6);
    play(session, padded(sound));
    EXPECT_TRUE(find(sound, recorder.lastSeconds(5)));
}

TEST(Route, CaptureComesBackWhenTheServerIsKilledAndStartsAgain) {
    const PrivateSession session;
    session.addDefaultSink("out");
    const Recorder recorder(session, "", true);
    const auto early = noise(1, 7);
    play(session, padded(early));
    ASSERT_TRUE(find(early, recorder.retained()));
    auto playing = startPlaying(session, noise(30, 8));
    ASSERT_TRUE(eventually([&] { return session.session("state", "out") == "running"; }));
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
    waitForCapture(recorder);
    const auto late = noise(1, 9);
    play(session, padded(late));
    const auto clip = recorder.retained();
    const auto first = find(early, clip);
    ASSERT_TRUE(first) << "earlier audio was touched";
    EXPECT_TRUE(find(late, clip, *first));
}

TEST(Route, CaptureBeginsByItselfOnceThereIsAServerAndAnOutput) {
    const PrivateSession session;
    session.session("server-kill");
    const Recorder recorder(session, "", false);
    ASSERT_TRUE(eventually([&] { return recorder.logCount(kNoServer) == 1; }));
    EXPECT_NE(recorder.status("last_error").find(kNoServer), std::string::npos);
    session.session("server-start");
    // Now the server is there, but has no output. One retry has failed for that reason before there is one.
    ASSERT_TRUE(eventually([&] { return recorder.status("retries") != "0" || recorder.totalFrames() == 0; }));
    session.addDefaultSink("out");
    EXPECT_TRUE(eventually([&] { return recorder.isCapturing(); }, 4));
    EXPECT_EQ(recorder.logCount("(error "), 1) << "the message comes once";
    waitForCapture(recorder);
    const auto sound = noise(0.5, 10);
    play(session, padded(sound));
    EXPECT_TRUE(find(sound, recorder.lastSeconds(5)));
}

TEST(Route, NothingIsEverCapturedFromAMicrophone) {
    const PrivateSession session;
    session.addDefaultSink("out");
    session.session("add-source", "mic");
    const Recorder recorder(session);
    const auto voice = startPlaying(session, noise(60, 11), "--target 0 -P '{ node.name=voice }'");
    ASSERT_TRUE(eventually([&] { return session.run("pw-link voice:output_FL mic:input_FL").exitCode == 0; }));
    ASSERT_TRUE(eventually([&] { return session.session("state", "mic") == "running"; }));

    const auto nodeId = [&](const std::string& name) {
        return "$(pw-cli ls Node | awk '/^\\tid/ { id = $2 } /\"" + name + "\"/ { print id; exit }' | tr -d ,)";
    };
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
