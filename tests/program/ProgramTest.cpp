// The program as its users type it.

#include "program/Recorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <csignal>
#include <thread>

namespace rewindle::test {
namespace {

TEST(Program, EveryCommandDoesWhatItSaysAndAnswersByItsExitCode) {
    const PrivateSession session;
    session.addDefaultSink("out");
    const auto rewindle = [&](const std::string& arguments) { return session.run(REWINDLE_BINARY " " + arguments); };

    Recorder recorder(session, "--duration 60");
    EXPECT_EQ(recorder.status("duration_seconds"), "60");
    const auto second = session.run("ulimit -l 64; " REWINDLE_BINARY " --headless");
    EXPECT_EQ(std::pair(second.exitCode, second.errors),
              std::pair(1, std::string("rewindle: another instance is running already\n")));
    EXPECT_EQ(rewindle("duration 90").exitCode, 2);
    EXPECT_EQ(rewindle("duration 30").exitCode, 0);
    EXPECT_EQ(recorder.status("duration_seconds"), "30");
    EXPECT_EQ(rewindle("gain -6").exitCode, 0);
    EXPECT_EQ(std::stod(recorder.status("gain_db")), -6);
    EXPECT_EQ(rewindle("gain 0").exitCode, 0);
    EXPECT_EQ(rewindle("status").exitCode, 0);

    const auto sound = noise(0.5, 1);
    play(session, padded(sound));
    // Without a folder, clips go to the user's own; with one, it is the caller's idea of where that is.
    const auto clip = rewindle("export --last 5");
    EXPECT_EQ(clip.exitCode, 0);
    EXPECT_EQ(clip.errors, "");
    const Path path = clip.output.substr(0, clip.output.size() - 1);
    EXPECT_EQ(path.parent_path(), session.folder() / "home/Music/rewindle");
    EXPECT_TRUE(find(sound, load(path)));
    const auto relative =
        session.run("cd " + session.folder().string() + " && " REWINDLE_BINARY " export --all --folder new");
    EXPECT_EQ(relative.output.substr(0, relative.output.rfind('/')), (session.folder() / "new").string());
    for (const std::string reader : {"sndfile-info ", "soxi ", "ffprobe -hide_banner "}) {
        const auto said = session.run(reader + path.string());
        EXPECT_EQ(said.exitCode, 0) << reader;
        EXPECT_NE((said.output + said.errors).find("48000"), std::string::npos) << reader;
    }

    EXPECT_EQ(rewindle("quit").exitCode, 0);
    EXPECT_EQ(recorder.process().wait(), 0);
    EXPECT_EQ(rewindle("status").exitCode, 3);
}

TEST(Program, ExportsDurationChangesAndOverlappingCopiesLoseNoFrame) {
    const PrivateSession session;
    session.addDefaultSink("out");
    Recorder recorder(session, "--duration 600");
    const auto sound = noise(4, 3);
    auto player = startPlaying(session, padded(sound));
    ASSERT_TRUE(eventually([&] { return std::stod(recorder.status("left_hold_db")) > -20; }));
    std::atomic<bool> playing = true;
    const auto exportAll = [&] {
        do
            EXPECT_EQ(recorder.command("export --all --folder " + session.folder().string()).exitCode, 0);
        while (playing);
    };
    std::vector<std::thread> users;
    users.emplace_back(exportAll);
    users.emplace_back(exportAll);
    users.emplace_back([&] {
        do
            for (const std::string seconds : {"30", "600", "45", "300"})
                EXPECT_EQ(recorder.command("duration " + seconds).exitCode, 0);
        while (playing);
    });
    player.wait();
    playing = false;
    for (auto& user : users)
        user.join();
    EXPECT_TRUE(find(sound, recorder.retained()));
    EXPECT_EQ(recorder.status("overruns"), "0");
    recorder.process().signal(SIGINT);
    EXPECT_EQ(recorder.process().wait(), 0);
}

TEST(Program, WithoutMemoryForACopyOrALongerDurationItSaysSoAndGoesOn) {
    const PrivateSession session;
    session.session("add-fast-sink", "fast");
    session.session("default-sink", "fast");
    Recorder recorder(session, "--duration 300");
    const auto pid = std::to_string(recorder.process().pid());
    save(noise(30, 5), session.folder() / "long.wav");
    ASSERT_TRUE(eventually([&] { // a player on such a sink need not come to its end
        std::ignore = session.run("timeout 2 pw-play " + (session.folder() / "long.wav").string());
        return std::stod(recorder.status("retained_seconds")) > 250;
    }));
    // Room for all that is not audio.
    const auto used = "$(awk '/^VmSize/ { print $2 * 1024 + 5e7 }' /proc/" + pid + "/status)";
    ASSERT_EQ(session.run("prlimit --pid " + pid + " --as=" + used + ":").exitCode, 0);
    const auto refused = recorder.command("export --all");
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_EQ(refused.errors, "rewindle: Could not allocate memory for export.\n");
    EXPECT_EQ(recorder.command("duration 600").exitCode, 1);
    EXPECT_EQ(recorder.status("duration_seconds"), "300");
    EXPECT_GT(recorder.lastSeconds(5).frames(), 0U);
    ASSERT_EQ(session.run("prlimit --pid " + pid + " --as=unlimited:").exitCode, 0);
    EXPECT_GT(recorder.retained().frames(), std::size_t{250} * 48'000);
    EXPECT_EQ(recorder.command("duration 600").exitCode, 0);
}

} // namespace
} // namespace rewindle::test
