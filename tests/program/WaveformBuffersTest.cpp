// The live waveform of ring buffers that are empty, short, long, frozen, or replaced by another.

#include "program/LiveWaveform.h"

#include <cmath>

namespace rewindle::test {
namespace {

class WaveformBuffers : public LiveWaveform {
protected:
    bool showsHeadAt(double x) const {
        return eventually([&] { return std::abs(look().head - x) <= kColumn; });
    }
    void freeze() {
        ASSERT_EQ(rewindle->command("freeze").exitCode, 0);
        awaitFreeze();
    }
};

TEST_F(WaveformBuffers, ADragOutlivesTheReplacementOfTheBuffer) {
    start();
    playAndPause();
    const auto blocksSeen = lookAtRest();
    const int from = blocksSeen.nextBlock(0)->first + 10;
    const double start = select(from, from + 400).first;
    desktop.press("Escape Escape");

    mouse(to(from) + "mousedown 1 " + to(from + 50));
    ASSERT_EQ(rewindle->command("duration 60").exitCode, 0);
    EXPECT_TRUE(showsHeadAt(0.92 * blocksSeen.width)) << "follows, and shows as much as before";
    mouse(to(from + 200) + to(from + 300) + "mouseup 1 ");
    const auto frozen = placeOf(save());
    EXPECT_NEAR(frozen.first, start, 1) << "where the old buffer was pressed";
    const auto end = static_cast<double>(kept.frames());
    EXPECT_NEAR(frozen.first + frozen.frames, end + (from + 300 - 0.92 * width) * framesPerPixel, 1)
        << "where the new one was let go";

    // The same while it is recorded.
    desktop.press("Escape Escape space End");
    EXPECT_TRUE(eventually([&] { return rewindle->status("frozen") == "false"; }));
    mouse(to(100) + "mousedown 1 " + to(150));
    ASSERT_EQ(rewindle->command("duration 45").exitCode, 0);
    mouse(to(300) + to(500) + "mouseup 1 ");
    freeze();
    EXPECT_GT(placeOf(save()).frames, 100 * framesPerPixel);
    EXPECT_TRUE(find(blocks().part(kLead, 2 * kBlock), kept).has_value()) << "what had been heard before";
    desktop.press("Escape Escape space End");
    EXPECT_TRUE(showsHeadAt(0.92 * blocksSeen.width));
    waitForCapture(*rewindle);
    EXPECT_TRUE(showsHeadAt(0.92 * blocksSeen.width));
}

TEST_F(WaveformBuffers, ShortLongFrozenAndEmptyOnesAreShownAndSavedAsTheyAre) {
    run({.arguments = "--hidden"});
    ASSERT_TRUE(eventually([&] { return rewindle->totalFrames() > 40'000; }));
    freeze();
    ASSERT_EQ(rewindle->command("").exitCode, 0);
    awaitWindow();
    const auto held = kept.frames();
    const auto frames = static_cast<double>(held);
    width = desktop.area(kWindow).width;
    EXPECT_TRUE(showsHeadAt(frames / (kSecondsKept * kRate) * width)) << "frozen from the start";
    EXPECT_EQ(save().frames(), held);
    ASSERT_EQ(rewindle->command("duration 600").exitCode, 0);
    EXPECT_TRUE(showsHeadAt(frames / (kSecondsKept * kRate) * width)) << "the same part of ten minutes";
    desktop.press("ctrl+0");
    EXPECT_TRUE(showsHeadAt(frames / (600 * kRate) * width)) << "all of them";
    EXPECT_EQ(save().frames(), held);
    desktop.press("space");
    EXPECT_TRUE(eventually([&] { return static_cast<std::size_t>(rewindle->totalFrames()) > held; }));
    freeze();
    EXPECT_EQ(save().frames(), kept.frames());

    rewindle.reset();
    const auto before = clipsIn(session);
    session.session("remove", "speakers");
    run({.capturing = false});
    awaitWindow();
    desktop.press("ctrl+s Home End Left ctrl+a ctrl+equal ctrl+s");
    drag(300, 700);
    desktop.press("ctrl+s ctrl+c space Escape Escape");
    EXPECT_EQ(look().head, -1) << "nothing was heard";
    EXPECT_EQ(rewindle->totalFrames(), 0);
    session.addDefaultSink("speakers");
    EXPECT_TRUE(eventually([&] { return look().head > 0; }));
    EXPECT_EQ(clipsIn(session), before) << "nothing was saved";
    freeze();
    EXPECT_EQ(save().frames(), kept.frames());
}

} // namespace
} // namespace rewindle::test
