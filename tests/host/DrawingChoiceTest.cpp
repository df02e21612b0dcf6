// What the program draws its waveform with, from one start to the next.

#include "host/Recorder.h"
#include "settings/WaveformTheme.h"
#include "support/Desktop.h"

#include <gmock/gmock.h>

#include <cmath>
#include <fstream>
#include <optional>
#include <sstream>

namespace rewindle::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class DrawingChoice : public testing::Test {
protected:
    DrawingChoice() {
        session.addDefaultSink("speakers");
        std::filesystem::create_directories(session.folder() / "config/rewindle");
        std::ofstream(session.folder() / "config/rewindle/settings.json")
            << R"({"com.rewindle.hasSeenOnboarding": true, "capture.recordingDuration": 30})";
    }
    /// Starts it, waits until the waveform is seen to move if it is to be on the screen, and returns what it has told
    /// about the GPU.
    std::vector<std::string> start(const std::string& variables, bool isOnScreen = true) {
        std::filesystem::remove(dump);
        rewindle.reset();
        rewindle.emplace(session,
                         RecorderStart{.variables = "REWINDLE_DUMP_FRAME=" + dump.string() + " " + variables});
        EXPECT_TRUE(!isOnScreen || moves(screenshot));
        return told();
    }
    [[nodiscard]] std::vector<std::string> told() const {
        std::istringstream log(rewindle->log());
        std::vector<std::string> lines;
        constexpr std::string_view kTopic = ":Gpu] ";
        for (std::string line; std::getline(log, line);) {
            const auto topic = line.find(kTopic);
            if (topic != line.npos) lines.push_back(line.substr(topic + kTopic.size()));
        }
        return lines;
    }
    /// The place of the line at the newest audio in a picture; -1 when it is not there.
    [[nodiscard]] int headIn(const Path& png) const {
        const Color head = WaveformTheme::of(NightfallFlavor::eclipse, NightfallWaveformAccent::mauve).head;
        const auto row =
            session.run("convert " + png.string() + " -gravity South -crop x1+0+3 -depth 8 rgba:-").output;
        for (std::size_t x = 0; 4 * x + 3 < row.size(); ++x) {
            const auto near = [&](std::size_t i, double value) {
                return std::abs(static_cast<unsigned char>(row[4 * x + i]) - 255 * value) < 40;
            };
            if (near(0, head.red) && near(1, head.green) && near(2, head.blue) && near(3, 1))
                return static_cast<int>(x);
        }
        return -1;
    }
    bool moves(const Path& png) const {
        int first = -1;
        return eventually([&] {
            if (png == screenshot) desktop.saveScreenshot(png, "rewindle");
            const int now = headIn(png);
            if (first < 0) first = now;
            return first >= 0 && now > first;
        });
    }

    const PrivateSession session{SessionParts{.display = true}};
    const Desktop desktop{session};
    const Path screenshot = session.folder() / "screen.png";
    const Path dump = session.folder() / "frame.png";
    std::optional<Recorder> rewindle;
};

TEST_F(DrawingChoice, FollowsWhatIsThereAndWhatIsAskedForAndIsNeverWithoutAPicture) {
    EXPECT_THAT(start(""), ElementsAre(StartsWith("GPU: software gl llvmpipe"))) << "which counts as none";
    EXPECT_FALSE(std::filesystem::exists(dump));

    EXPECT_THAT(start("REWINDLE_RENDERER=metal"), ElementsAre(StartsWith("Drawing with llvmpipe")));
    EXPECT_TRUE(moves(dump));
    const auto waveform = session.run("identify -format '%w' " + dump.string()).output;
    EXPECT_EQ(waveform, std::to_string(desktop.area("rewindle").width));

    EXPECT_THAT(start("REWINDLE_RENDERER=metal LIBGL_ALWAYS_INDIRECT=1"),
                ElementsAre("The GPU cannot be drawn with."));
    EXPECT_THAT(start("REWINDLE_RENDERER=cg"), IsEmpty());
    EXPECT_THAT(start("REWINDLE_RENDERER=metal QT_QPA_PLATFORM=offscreen", false), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(dump));
}

} // namespace
} // namespace rewindle::test
