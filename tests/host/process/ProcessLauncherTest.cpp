#include "host/process/QtProcessLauncher.h"

#include "host/HostFiles.h"
#include "host/PrivateBus.h"
#include "host/files/TemporaryFolder.h"

#include <cerrno>
#include <csignal>

namespace rewindle::test {
namespace {

using Path = std::filesystem::path;

class ProcessLauncherTest : public testing::Test {
protected:
    [[nodiscard]] Result<int> outcome(const Path& program, const std::string& argument) {
        std::optional<Result<int>> got;
        launcher_.run(program, argument, [&](Result<int> outcome) { got = std::move(outcome); });
        EXPECT_FALSE(got); // never before the call is back
        EXPECT_TRUE(runUntil([&] { return got.has_value(); }));
        return *got;
    }

    TemporaryFolder folder_;
    QtProcessLauncher launcher_;
};

TEST_F(ProcessLauncherTest, RepliesWithTheExitStatusOrTheReason) {
    const auto exits = script(folder_.path / "exits", "echo on standard output; exit $1");
    for (const int status : {0, 1, 2, 3, 255})
        EXPECT_EQ(outcome(exits, std::to_string(status)).value(), status);
    EXPECT_EQ(outcome(script(folder_.path / "spaces", "test \"$1\" = 'a  $b' && test $# = 1"), "a  $b").value(), 0);
    EXPECT_FALSE(outcome(script(folder_.path / "dies", "kill -9 $$"), "").ok());
    EXPECT_FALSE(outcome(folder_.path / "missing", "").ok());
}

TEST_F(ProcessLauncherTest, KillsAProcessThatTakesTooLong) {
    const auto pidFile = folder_.path / "pid";
    const auto hangs = script(folder_.path / "hangs", "trap '' TERM; echo $$ > \"$1\"; exec sleep 1000");
    EXPECT_EQ(outcome(hangs, pidFile.native()).error().code, ETIMEDOUT);
    pid_t pid = 0;
    std::ifstream(pidFile) >> pid;
    EXPECT_GT(pid, 0);
    EXPECT_NE(::kill(pid, 0), 0);
}

TEST_F(ProcessLauncherTest, FindsItsOwnFileOrTheOneThatTookItsPlace) {
    EXPECT_TRUE(std::filesystem::equivalent(launcher_.executable().value(), "/proc/self/exe"));
    const auto there = script(folder_.path / "there", "");
    std::ofstream(folder_.path / "text") << "no program";
    EXPECT_EQ(executableBehind(there), there);
    EXPECT_EQ(executableBehind(there.native() + " (deleted)"), there);
    EXPECT_EQ(executableBehind(folder_.path / "gone (deleted)"), std::nullopt);
    EXPECT_EQ(executableBehind(folder_.path / "text"), std::nullopt);
}

} // namespace
} // namespace rewindle::test
