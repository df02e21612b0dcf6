#include "render/gpu/MetalRenderCore.h"

#include "fakes/CapturingLogSink.h"
#include "fakes/FakeGpuDevice.h"
#include "render/gpu/ShaderFunctions.h"
#include "render/gpu/TripleBuffer.h"

#include <gmock/gmock.h>

namespace rewindle::test {
namespace {

using namespace ShaderFunctions;
using testing::ElementsAre;
using testing::IsEmpty;

class MetalRenderCoreTest : public testing::Test {
protected:
    std::unique_ptr<MetalRenderCore> makeCore() { return MetalRenderCore::make(&device, Log(log, "Render")); }

    CapturingLogSink log;
    FakeGpuDevice device;
    std::unique_ptr<MetalRenderCore> core = makeCore();
};

TEST_F(MetalRenderCoreTest, IsAbsentWhenAPartIsMissingAndOnlyAShaderFailureIsLogged) {
    ASSERT_TRUE(core);
    EXPECT_FALSE(MetalRenderCore::make(nullptr, Log(log, "Render")));
    for (const char* part : {"queue", "sampler"}) {
        device.failing = {part};
        EXPECT_FALSE(makeCore()) << part;
    }
    EXPECT_THAT(log.lines(), IsEmpty());
    device.failing = {"library"};
    EXPECT_FALSE(makeCore());
    EXPECT_THAT(log.lines(), ElementsAre("Render: Rewindle: Metal shader compilation failed, falling back to "
                                         "CoreGraphics: 0:3: syntax error"));
}

TEST_F(MetalRenderCoreTest, MakesAPipelineOncePerNamesSamplesAndBlending) {
    const auto* const first = core->pipeline(coloredVertex, coloredFragment, 1, true);
    EXPECT_TRUE(first);
    EXPECT_EQ(core->pipeline(coloredVertex, coloredFragment, 1, true), first);
    EXPECT_NE(core->pipeline(coloredVertex, coloredFragment, 4, true), first);
    EXPECT_NE(core->pipeline(coloredVertex, coloredFragment, 1, false), first);
    EXPECT_THAT(device.record.take(), ElementsAre("make pipeline colored_vertex colored_fragment x1 over",
                                                  "make pipeline colored_vertex colored_fragment x4 over",
                                                  "make pipeline colored_vertex colored_fragment x1 opaque"));
}

TEST_F(MetalRenderCoreTest, TriesAFailedPipelineAgainAndHasNoneWithoutItsFunctions) {
    device.failing = {"pipeline"};
    EXPECT_FALSE(core->pipeline(waveVertex, waveFragment, 4, true));
    device.failing = {};
    EXPECT_TRUE(core->pipeline(waveVertex, waveFragment, 4, true));

    device.missingFunctions = {"tex_fragment"};
    EXPECT_FALSE(makeCore()->pipeline(texVertex, texFragment, 1, true));
}

TEST_F(MetalRenderCoreTest, SmallDrawsPassTheirVerticesInline) {
    const std::vector<ColoredVertex> colored(6);
    const std::vector<RampVertex> ramp(6);
    const FakeGpuTexture texture({.width = 256, .height = 1});
    core->drawColored(colored, device.encoder);
    core->drawTextured(ramp, texture, device.encoder, rampVertex, rampFragment);
    EXPECT_THAT(device.record.take(),
                ElementsAre("make pipeline colored_vertex colored_fragment x1 over",
                            "pipeline colored_vertex colored_fragment x1 over", "vertex bytes 0: 192",
                            "draw triangles 6 from 0", "make pipeline ramp_vertex ramp_fragment x1 over",
                            "pipeline ramp_vertex ramp_fragment x1 over", "vertex bytes 0: 96",
                            "fragment texture 0: 256x1", "draw triangles 6 from 0"));

    core->drawColored({}, device.encoder);
    device.failing = {"pipeline"};
    core->drawTextured(std::vector<TexVertex>(6), texture, device.encoder, texVertex, texFragment);
    EXPECT_THAT(device.record.take(), IsEmpty());
}

TEST_F(MetalRenderCoreTest, LayersCanBeCopiedOnlyWhenFramesAreDumped) {
    FakeGpuLayer layer({10, 10});
    core->configure(layer, false, false);
    EXPECT_EQ(layer.configuration, (GpuLayerConfiguration{.framebufferOnly = true, .opaque = false}));
    core->configure(layer, true, true);
    EXPECT_EQ(layer.configuration, (GpuLayerConfiguration{.framebufferOnly = false, .opaque = true}));
}

class TripleBufferTest : public testing::Test {
protected:
    /// One frame, complete before the next.
    GpuBuffer* frame(std::size_t length) {
        GpuBuffer* const buffer = buffers.next(length);
        if (!buffer) return nullptr;
        buffers.submit(device.commands);
        device.commands.commit();
        device.completeOldest();
        return buffer;
    }
    GpuBuffer* frameOfTheSameSlot(std::size_t length) {
        frame(1);
        frame(1);
        return frame(length);
    }

    FakeGpuDevice device;
    TripleBuffer buffers{device};
};

TEST_F(TripleBufferTest, GrowsASlotByDoublingAndNeverShrinksIt) {
    EXPECT_EQ(frame(100)->length(), 100U);
    EXPECT_EQ(frameOfTheSameSlot(150)->length(), 200U);
    EXPECT_EQ(frameOfTheSameSlot(120)->length(), 200U);
    EXPECT_EQ(frameOfTheSameSlot(1000)->length(), 1000U);
    EXPECT_THAT(
        device.record.takeStartingWith("make"),
        ElementsAre("make buffer 100", "make buffer 1", "make buffer 1", "make buffer 200", "make buffer 1000"));
}

TEST_F(TripleBufferTest, LosesNoSlotToFailedAllocations) {
    device.failing = {"buffer"};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(buffers.next(10), nullptr);
    device.failing = {};
    EXPECT_THAT(device.record.takeStartingWith("wait"), IsEmpty());
    EXPECT_TRUE(frame(10));
}

} // namespace
} // namespace rewindle::test
