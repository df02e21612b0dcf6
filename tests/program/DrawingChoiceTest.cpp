// What the program draws its waveform with, from one start to the next.

#include "program/LiveWaveform.h"

#include <gmock/gmock.h>

#include <sstream>

namespace rewindle::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class DrawingChoice : public LiveWaveform {
protected:
    /// Starts it, waits until the waveform is seen to move if it is to be on the screen, and returns what it has told
    /// about the GPU.
    std::vector<std::string> start(const std::string& variables, bool isOnScreen = true) {
        std::filesystem::remove(dump);
        rewindle.reset();
        run({.variables = "REWINDLE_DUMP_FRAME=" + dump.string() + " " + variables});
        EXPECT_TRUE(!isOnScreen || moves([this] { return look(); }));
        std::istringstream log(rewindle->log());
        std::vector<std::string> told;
        constexpr std::string_view kTopic = ":Gpu] ";
        for (std::string line; std::getline(log, line);) {
            const auto topic = line.find(kTopic);
            if (topic != line.npos) told.push_back(line.substr(topic + kTopic.size()));
        }
        return told;
    }
    static bool moves(const std::function<Picture()>& look) {
        double first = -1;
        return eventually([&] {
            const double now = look().head;
            if (first < 0) first = now;
            return first >= 0 && now > first;
        });
    }

    const Path dump = session.folder() / "frame.png";
};

TEST_F(DrawingChoice, FollowsWhatIsThereAndWhatIsAskedForAndIsNeverWithoutAPicture) {
    EXPECT_THAT(start(""), ElementsAre(StartsWith("GPU: software gl llvmpipe"))) << "which counts as none";
    EXPECT_FALSE(std::filesystem::exists(dump));

    EXPECT_THAT(start("REWINDLE_RENDERER=metal"), ElementsAre(StartsWith("Drawing with llvmpipe")));
    EXPECT_TRUE(moves([this] { return lookAt(dump); }));
    EXPECT_EQ(lookAt(dump).width, desktop.area(title).width);

    EXPECT_THAT(start("REWINDLE_RENDERER=metal LIBGL_ALWAYS_INDIRECT=1"),
                ElementsAre("The GPU cannot be drawn with."));
    EXPECT_THAT(start("REWINDLE_RENDERER=cg"), IsEmpty());
    EXPECT_THAT(start("REWINDLE_RENDERER=metal QT_QPA_PLATFORM=offscreen", false), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(dump));
}

} // namespace
} // namespace rewindle::test
