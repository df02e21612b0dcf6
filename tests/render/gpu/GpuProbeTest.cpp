#include "render/gpu/GpuProbe.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/FakeDefaultsStore.h"

#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

struct FakeGpuProbeHost final : GpuProbeHost {
    [[nodiscard]] std::string driverFingerprint() override { return fingerprint; }
    [[nodiscard]] std::optional<std::string> runProbeChild() override {
        ++runs;
        return line;
    }
    std::string fingerprint = "drivers-a";
    std::optional<std::string> line = "hardware gl Mesa Radeon\n";
    int runs = 0;
};

class GpuProbeTest : public testing::Test {
protected:
    /// What a start of the program finds.
    GpuKind start() { return GpuProbe(defaults, host, Log(log, "Render")).answer().kind; }

    CapturingLogSink log;
    FakeDefaultsStore defaults;
    FakeGpuProbeHost host;
};

TEST_F(GpuProbeTest, ProbesAgainOnlyWhenTheDriversChangedOrTheAnswerWasWrong) {
    EXPECT_EQ(start(), GpuKind::hardware);
    EXPECT_EQ(start(), GpuKind::hardware);
    EXPECT_EQ(host.runs, 1);
    host.fingerprint = "drivers-ab";
    host.line = "software es llvmpipe (LLVM 15)";
    EXPECT_EQ(start(), GpuKind::software);
    EXPECT_EQ(GpuProbe(defaults, host, Log(log, "Render")).answer(),
              (GpuProbeAnswer{GpuKind::software, true, "llvmpipe (LLVM 15)"}));
    EXPECT_EQ(host.runs, 2);
    GpuProbe(defaults, host, Log(log, "Render")).forget();
    host.line = "none";
    EXPECT_EQ(start(), GpuKind::none);
    EXPECT_EQ(start(), GpuKind::none);
    EXPECT_EQ(host.runs, 3);
}

TEST_F(GpuProbeTest, AFailedChildMeansNoGpuAndIsGivenOneMoreChance) {
    for (const std::optional<std::string>& failure : {std::optional<std::string>(), {"hardware"}, {""}}) {
        host.line = failure;
        host.runs = 0;
        defaults.remove(GpuProbe::kDefaultsKey);
        for (const int runs : {1, 2, 2, 2}) {
            EXPECT_EQ(start(), GpuKind::none);
            EXPECT_EQ(host.runs, runs);
        }
    }
    defaults.remove(GpuProbe::kDefaultsKey);
    host.line = std::nullopt;
    EXPECT_EQ(start(), GpuKind::none);
    host.line = "hardware gl Radeon";
    EXPECT_EQ(start(), GpuKind::hardware);
}

TEST_F(GpuProbeTest, SurvivesForeignValuesAndTextOfSeveralLines) {
    for (const DefaultsValue& stored :
         {DefaultsValue(true), DefaultsValue("drivers-a|nonsense"), DefaultsValue("")}) {
        defaults.stored(GpuProbe::kDefaultsKey, stored);
        EXPECT_EQ(start(), GpuKind::hardware);
    }
    EXPECT_EQ(probeLine({GpuKind::software, false, "a driver\nwith news"}), "software gl a driver");
    EXPECT_TRUE(isSoftwareRenderer("Mesa llvmpipe (LLVM 15.0.6, 256 bits)"));
    EXPECT_FALSE(isSoftwareRenderer("Mesa Intel(R) UHD Graphics 620 (KBL GT2)"));
}

} // namespace
} // namespace rewindle::test
