// The live waveform as somebody sees it, marks in it and takes from it: a stock player, real windows, mouse and keys.

#include "program/LiveWaveform.h"

#include <cmath>

namespace rewindle::test {
namespace {

/// However it is drawn: "metal" is the GPU, which is software here.
class LiveWaveformDrawnBy : public LiveWaveform, public testing::WithParamInterface<const char*> {
protected:
    void startDrawing() {
        const auto dump = session.folder() / "frame.png";
        start("REWINDLE_DUMP_FRAME=" + dump.string() + " REWINDLE_RENDERER=" + GetParam());
        const bool byGpu = GetParam() == std::string("metal");
        EXPECT_TRUE(eventually([&] { return rewindle->logCount("Drawing with llvmpipe") == (byGpu ? 1 : 0); }));
        EXPECT_TRUE(eventually([&] { return !byGpu || lookAt(dump).width == desktop.area(kWindow).width; }));
        EXPECT_EQ(std::filesystem::exists(dump), byGpu);
    }
};

TEST_P(LiveWaveformDrawnBy, ItsColumnsAreTheSoundAndASavedSelectionIsThatStretchBitByBit) {
    ASSERT_NO_FATAL_FAILURE(startDrawing());
    playAndPause();
    const Picture picture = lookAtRest();
    const double middle = (picture.top + picture.bottom) / 2.0;
    const auto first = picture.nextBlock(0);
    ASSERT_TRUE(first);
    std::vector<std::pair<int, int>> seen;
    for (auto block = first; block; block = picture.nextBlock(block->second + 1))
        if (block->second - block->first > 2 * kColumn)
            seen.push_back(*block); // no block: the line at the newest audio
    ASSERT_EQ(seen.size(), kLevels.size());
    for (std::size_t block = 0; block < kLevels.size(); ++block) {
        SCOPED_TRACE(block);
        const double reach = static_cast<double>(kLevels.at(block)) * 0.9 * (picture.bottom - picture.top) / 2;
        for (int x = seen[block].first + 2 * kColumn; x <= seen[block].second - 2 * kColumn; ++x) {
            const auto rows = picture.filled(x);
            ASSERT_NEAR(rows.first, middle - reach, 1) << x;
            ASSERT_NEAR(rows.second, middle + reach, 1) << x;
        }
    }

    // From the silence before the second block to that after the third.
    const auto from = (seen[0].second + seen[1].first) / 2;
    const auto to_ = (seen[2].second + seen[3].first) / 2;
    drag(from, to_);
    const auto clip = save();
    const auto sound = blocks();
    EXPECT_TRUE(find(sound.part(kLead + kBlock + kRest, 2 * kBlock + kRest), clip).has_value());
    EXPECT_NEAR(static_cast<double>(clip.frames()), (to_ - from) * framesPerPixel, 1.0);
}

INSTANTIATE_TEST_SUITE_P(, LiveWaveformDrawnBy, testing::Values("cg", "metal"),
                         [](const auto& renderer) { return std::string(renderer.param); });

} // namespace
} // namespace rewindle::test
