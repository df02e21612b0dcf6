#include "render/gpu/MetalRenderCore.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/FakeGpuDevice.h"
#include "render/gpu/ShaderFunctions.h"
#include "render/gpu/TripleBuffer.h"

#include <gmock/gmock.h>

namespace rewindle::test {
namespace {

using namespace ShaderFunctions;

class MetalRenderCoreTest : public testing::Test {
protected:
    std::unique_ptr<MetalRenderCore> makeCore() { return MetalRenderCore::make(&device, Log(log, "Render")); }

    CapturingLogSink log;
    FakeGpuDevice device;
};

TEST_F(MetalRenderCoreTest, IsAbsentWhenAPartIsMissingAndOnlyAShaderFailureIsLogged) {
    EXPECT_FALSE(MetalRenderCore::make(nullptr, Log(log, "Render")));
    for (const char* part : {"queue", "sampler", "library"}) {
        EXPECT_TRUE(log.lines().empty());
        device.failing = {part};
        EXPECT_FALSE(makeCore()) << part;
    }
    EXPECT_EQ(log.count("0:3: syntax error"), 1);
}

TEST_F(MetalRenderCoreTest, KeepsAPipelinePerSamplesAndBlendingAndTriesAFailedOneAgain) {
    const auto core = makeCore();
    device.failing = {"pipeline"};
    EXPECT_FALSE(core->pipeline(coloredVertex, coloredFragment, 1, true));
    device.failing = {};
    const auto* const first = core->pipeline(coloredVertex, coloredFragment, 1, true);
    EXPECT_TRUE(first);
    EXPECT_EQ(core->pipeline(coloredVertex, coloredFragment, 1, true), first);
    EXPECT_NE(core->pipeline(coloredVertex, coloredFragment, 4, true), first);
    EXPECT_NE(core->pipeline(coloredVertex, coloredFragment, 1, false), first);
    device.missingFunctions = {"tex_fragment"};
    EXPECT_FALSE(makeCore()->pipeline(texVertex, texFragment, 1, true));
}

TEST(TripleBufferTest, GrowsASlotByDoublingNeverShrinksItAndLosesNoneToFailedAllocations) {
    FakeGpuDevice device;
    TripleBuffer buffers(device);
    device.failing = {"buffer"};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(buffers.next(10), nullptr);
    device.failing = {};
    const auto lengthFor = [&](std::size_t length) { // of one frame, complete before the next
        const GpuBuffer* const buffer = buffers.next(length);
        const auto made = buffer ? buffer->length() : 0;
        buffers.submit(device.commands);
        device.commands.commit();
        device.completeOldest();
        return made;
    };
    for (const auto& [asked, made] : {std::pair(100, 100U), {150, 200U}, {120, 200U}, {1000, 1000U}}) {
        EXPECT_EQ(lengthFor(static_cast<std::size_t>(asked)), made);
        lengthFor(1), lengthFor(1); // of the other slots
    }
}

} // namespace
} // namespace rewindle::test
