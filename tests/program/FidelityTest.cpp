// What is played comes out of a clip as it went in.

#include "program/Recorder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <complex>
#include <numbers>
#include <thread>

namespace rewindle::test {
namespace {

constexpr double kMinus100Dbfs = 1e-5;

TEST(Fidelity, ClipIsBitIdenticalFromTheFirstSampleEvenWhenTheSinkSlept) {
    const PrivateSession session;
    session.addDefaultSink("out");
    const Recorder recorder(session);
    for (unsigned seed = 1; seed <= 3; ++seed) {
        SCOPED_TRACE(seed);
        ASSERT_TRUE(eventually([&] { return session.session("state", "out") == "suspended"; }));
        const auto sound = noise(1, seed);
        play(session, padded(sound));
        const auto clip = recorder.lastSeconds(10);
        const auto at = find(sound, clip);
        ASSERT_TRUE(at) << "not in the clip whole";
        EXPECT_EQ(peak(clip, *at - 480, *at), 0) << "something came before the first sample";
    }
    EXPECT_EQ(recorder.status("gaps"), "0");
    EXPECT_EQ(recorder.status("overruns"), "0");
}

TEST(Fidelity, TwentyFiveShortSoundsSurviveAnOverloadedComputer) {
    const PrivateSession session;
    session.addDefaultSink("out");
    const Recorder recorder(session);
    std::vector<Process> load;
    for (unsigned i = 0; i < 2 * std::thread::hardware_concurrency(); ++i)
        load.emplace_back("exec sh -c 'while :; do :; done'");
    for (unsigned seed = 0; seed < 25; ++seed)
        play(session, padded(noise(0.1, 100 + seed), 0.3));
    load.clear();
    const auto clip = recorder.retained();
    int complete = 0;
    for (unsigned seed = 0; seed < 25; ++seed)
        complete += find(noise(0.1, 100 + seed), clip).has_value();
    EXPECT_EQ(complete, 25);
}

TEST(Fidelity, AGraphThatTakesAnotherRateIsFollowedWithOneRestartAndConvertedWithoutError) {
    const PrivateSession session;
    std::ignore = session.run("pw-metadata -n settings 0 clock.allowed-rates '[ 44100 48000 ]'");
    session.addDefaultSink("out");
    const Recorder recorder(session);
    constexpr double kAngularFrequency = 2 * std::numbers::pi * 1'000;
    Sound sound{std::vector<float>(std::size_t{2} * 30 * 44'100), 44'100};
    for (std::size_t i = 0; i < sound.frames(); ++i)
        sound.samples[2 * i] = sound.samples[2 * i + 1] =
            static_cast<float>(0.5 * std::sin(kAngularFrequency * static_cast<double>(i) / 44'100));
    const auto player = startPlaying(session, sound);
    ASSERT_TRUE(eventually([&] { return recorder.logCount("(audio hardware devices changed); restarting") == 1; }));
    ASSERT_TRUE(eventually([&] { return recorder.isCapturing(); }));
    for (int half = 0; half < 3; ++half)
        waitForCapture(recorder);
    const auto clip = recorder.lastSeconds(1);
    EXPECT_EQ(recorder.logCount("restarting capture"), 1);

    // The sine is there at its level, and nothing else is.
    std::complex<double> sine = 0;
    double power = 0;
    for (std::size_t i = 0; i < clip.frames(); ++i) {
        const double value = clip.samples[2 * i];
        sine += value * std::polar(2.0 / 48'000, -kAngularFrequency * static_cast<double>(i) / 48'000);
        power += value * value / 48'000;
    }
    EXPECT_NEAR(std::abs(sine), 0.5, 1e-4);
    EXPECT_LT(std::sqrt(std::abs(power - std::norm(sine) / 2)), kMinus100Dbfs);
}

TEST(Fidelity, VolumeAndMuteOfSinkOrTapDoNotScaleTheRecording) {
    const PrivateSession session;
    session.addDefaultSink("out");
    unsigned seed = 20;
    {
        const Recorder recorder(session);
        ASSERT_EQ(session.run("test -n \"" + nodeId("rewindle-tap") + '"').exitCode, 0);
        for (const std::string& setting :
             {std::string("wpctl set-volume @DEFAULT_AUDIO_SINK@ 0.1"),
              std::string("wpctl set-mute @DEFAULT_AUDIO_SINK@ 1"),
              "pw-cli set-param " + nodeId("rewindle-tap") +
                  " Props '{ mute: true, volume: 0.1, channelVolumes: [ 0.1, 0.1 ] }'"}) {
            SCOPED_TRACE(setting);
            const bool isTaken = session.run(setting).exitCode == 0;
            EXPECT_TRUE(isTaken || setting.starts_with("pw-cli")); // the tap may refuse what it has no use for
            const auto sound = noise(0.5, seed++);
            play(session, padded(sound));
            EXPECT_TRUE(find(sound, recorder.lastSeconds(5)));
        }
    }
    // The session manager stores what it saw and brings it back at the next start.
    const Recorder again(session);
    const auto sound = noise(0.5, seed);
    play(session, padded(sound));
    EXPECT_TRUE(find(sound, again.lastSeconds(5)));
}

TEST(Fidelity, SurroundAndMonoOutputsAreMixedToStereo) {
    const PrivateSession session;
    session.addDefaultSink("surround", "FL FR FC LFE RL RR");
    const Recorder recorder(session);
    const auto sound = noise(0.5, 30); // a stereo client on a 5.1 sink plays on its front channels
    play(session, padded(sound), "-P '{ channelmix.upmix=false }'");
    EXPECT_TRUE(find(sound, recorder.lastSeconds(5)));

    session.addDefaultSink("single", "MONO");
    ASSERT_TRUE(eventually([&] { return recorder.status("device_uid") == "single" && recorder.isCapturing(); }));
    play(session, padded(noise(0.5, 31)));
    const auto clip = recorder.lastSeconds(5);
    EXPECT_GT(peak(clip, 0, clip.frames()), 0.1F);
    for (std::size_t i = clip.frames() - 33'600; i < clip.frames(); ++i) { // not the sound before
        ASSERT_EQ(clip.samples[2 * i], clip.samples[2 * i + 1]);
    }
}

TEST(Fidelity, FramesCountTimeThroughSuspendAndResume) {
    const PrivateSession session;
    session.addDefaultSink("out");
    const Recorder recorder(session);
    // A reading of the count, and the moments between which it was taken.
    struct Reading {
        double from, seconds, to;
    };
    const auto now = [] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    };
    const auto read = [&] { return Reading{now(), static_cast<double>(recorder.totalFrames()) / 48'000, now()}; };
    // While sound plays nothing of the axis is still to come, but for a cycle that is on its way.
    const double cycle = 2048.0 / 48'000;
    auto player = startPlaying(session, noise(3, 40));
    ASSERT_TRUE(eventually([&] { return std::stod(recorder.status("left_hold_db")) > -20; }));
    const auto first = read();
    for (unsigned i = 0; i < 3; ++i) {
        player.wait();
        ASSERT_TRUE(eventually([&] { return session.session("state", "out") == "suspended"; }));
        player = startPlaying(session, noise(3, 41 + i));
        ASSERT_TRUE(eventually([&] { return session.session("state", "out") == "running"; }));
    }
    waitForCapture(recorder);
    const auto last = read();
    EXPECT_GT(last.seconds - first.seconds, last.from - first.to - cycle - 0.02);
    EXPECT_LT(last.seconds - first.seconds, last.to - first.from + cycle + 0.02);
}

} // namespace
} // namespace rewindle::test
