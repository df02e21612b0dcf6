#include "render/gpu/ContiguousRuns.h"
#include "render/gpu/RendererChoice.h"

#include <gmock/gmock.h>

#include <limits>

namespace rewindle::test {
namespace {

using testing::ElementsAre;
using Floats = std::vector<float>;
constexpr float kGap = std::numeric_limits<float>::quiet_NaN();

TEST(ContiguousRuns, LieBetweenTheGaps) {
    const auto runsOf = [](const Floats& values, std::size_t count) {
        std::vector<IndexRange> runs{{7, 9}}; // of an earlier frame
        contiguousRuns(values, count, runs);
        return runs;
    };
    const Floats values{1, kGap, 2, 3, kGap};
    EXPECT_THAT(runsOf(values, 5), ElementsAre(IndexRange{0, 1}, IndexRange{2, 4}));
    EXPECT_THAT(runsOf(values, 3), ElementsAre(IndexRange{0, 1}, IndexRange{2, 3}));
    EXPECT_THAT(runsOf(values, 9), ElementsAre(IndexRange{0, 1}, IndexRange{2, 4}));
    EXPECT_THAT(runsOf({kGap, kGap}, 2), ElementsAre());
    EXPECT_THAT(runsOf({}, 4), ElementsAre());
    EXPECT_THAT(runsOf({kGap, 0}, 2), ElementsAre(IndexRange{1, 2}));
}

TEST(RendererChoice, FollowsTheEnvironmentAndNeverShowsAGpuThatIsNotThere) {
    using enum RendererChoice;
    EXPECT_EQ(rendererChoice(nullptr), automatic);
    for (const char* value : {"cg", "CG", "CoreGraphics", "core-graphics"})
        EXPECT_EQ(rendererChoice(value), twoDimensional) << value;
    for (const char* value : {"metal", "gpu", ""})
        EXPECT_EQ(rendererChoice(value), gpu) << value;

    struct Case {
        GpuKind found;
        bool drawsIfAutomatic, drawsIfForced;
    };
    for (const auto& test : {Case{GpuKind::hardware, true, true}, Case{GpuKind::software, false, true},
                             Case{GpuKind::none, false, false}}) {
        const auto probe = [&] { return GpuProbeAnswer{.kind = test.found}; };
        EXPECT_EQ(drawsWithGpu(automatic, true, probe), test.drawsIfAutomatic);
        EXPECT_EQ(drawsWithGpu(gpu, true, probe), test.drawsIfForced);
        EXPECT_FALSE(drawsWithGpu(gpu, false, probe));
        EXPECT_FALSE(drawsWithGpu(twoDimensional, true, probe));
    }
}

} // namespace
} // namespace rewindle::test
