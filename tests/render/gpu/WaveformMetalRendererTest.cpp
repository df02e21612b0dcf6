#include "render/gpu/WaveformMetalRenderer.h"

#include "fakes/AllocationCounter.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeGpuDevice.h"
#include "fakes/ManualClock.h"

#include <gmock/gmock.h>

namespace rewindle::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Floats = std::vector<float>;

struct FakeImageWriter final : ImageWriter {
    bool writePng(const std::filesystem::path&, const ImagePixels& image) override {
        written.push_back({image.width, std::to_integer<int>(image.bytes.at(0))});
        return true;
    }
    std::vector<std::pair<int, int>> written; // width and first byte
};

class WaveformMetalRendererTest : public testing::Test {
protected:
    WaveformMetalRendererTest() {
        frame.viewport = {100, 50};
        frame.columnCount = 8;
        frame.columnStride = 2;
        frame.overlays = {{{0, 0, 2, 50}, {1, 0, 0, 1}}, {{10, 0, 20, 50}, {0, 1, 0, 0.5}}};
    }
    /// Draws a frame of these columns, complete at its end, and returns the functions that were drawn with.
    std::vector<std::string_view> drawn(const Floats& minima, const Floats& maxima) {
        device.encoder.draws.clear();
        renderer.render(frame, minima, maxima, layer);
        device.completeOldest();
        std::vector<std::string_view> functions;
        for (const auto& draw : device.encoder.draws)
            functions.push_back(draw.vertexFunction);
        return functions;
    }

    CapturingLogSink log;
    FakeGpuDevice device;
    ManualClock clock;
    FakeImageWriter writer;
    FrameDump noDump{nullptr, clock, writer};
    std::unique_ptr<MetalRenderCore> core = MetalRenderCore::make(&device, Log(log, "Render"));
    FakeGpuLayer layer{{200, 100}};
    WaveformFrame frame;
    WaveformMetalRenderer renderer{*core, noDump};
};

TEST_F(WaveformMetalRendererTest, DrawsTheColumnsThatAllHave) {
    struct Case {
        std::int64_t columns;
        std::size_t minima, maxima;
    };
    for (const auto& [columns, minima, maxima] : {Case{8, 2, 2}, Case{2, 3, 3}, Case{8, 3, 2}, Case{8, 2, 3}}) {
        frame.columnCount = columns;
        ASSERT_THAT(drawn(Floats(minima), Floats(maxima)), ElementsAre("wave_vertex", "colored_vertex"));
        EXPECT_EQ(device.encoder.draws[0].vertexCount, 4U);
        EXPECT_EQ(device.encoder.draws[1].vertexCount, 12U);
    }
}

TEST_F(WaveformMetalRendererTest, DropsWhatItHasNoMeansFor) {
    for (const auto& [missing, presented] :
         {std::pair("texture", 0U), {"commands", 0U}, {"encoder", 0U}, {"pipeline", 1U}, {"buffer", 1U}}) {
        SCOPED_TRACE(missing);
        device.failing = {missing};
        const auto before = std::pair(device.presented, device.committed);
        EXPECT_THAT(drawn({0, 0}, {0, 0}), IsEmpty());
        EXPECT_EQ(device.presented - before.first, presented);
        // A command buffer that was made is committed, or there would be no other.
        EXPECT_EQ(device.committed - before.second, std::string(missing) == "encoder" ? 1 : presented);
    }
    device.failing = {};
    EXPECT_THAT(drawn({0, 0}, {0, 0}), ElementsAre("wave_vertex", "colored_vertex"));
    EXPECT_THAT(drawn({}, {}), ElementsAre("colored_vertex"));
    const auto committed = device.committed;
    layer.available = false;
    EXPECT_THAT(drawn({0, 0}, {0, 0}), IsEmpty());
    layer.available = true;
    layer.resize({0, 100});
    EXPECT_THAT(drawn({0, 0}, {0, 0}), IsEmpty());
    layer.resize({200, 100});
    for (const Size viewport : {Size{0, 50}, Size{100, -1}}) {
        frame.viewport = viewport;
        EXPECT_THAT(drawn({0, 0}, {0, 0}), IsEmpty());
    }
    EXPECT_EQ(device.committed, committed);
}

TEST_F(WaveformMetalRendererTest, AllocatesNothingForAFrameLikeTheOnesBefore) {
    const Floats columns(800, 0.5F);
    frame.columnCount = 800;
    const auto drawOne = [&] {
        renderer.render(frame, columns, columns, layer);
        device.completeOldest();
    };
    for (int i = 0; i < 16; ++i)
        drawOne();
    const auto before = allocationsOfThisThread();
    for (int i = 0; i < 10; ++i)
        drawOne();
    EXPECT_EQ(allocationsOfThisThread() - before, 0U);
}

TEST_F(WaveformMetalRendererTest, DumpsAFrameAtOnceAndAtMostOneASecond) {
    FrameDump dump("/tmp/frame.png", clock, writer);
    WaveformMetalRenderer dumping(*core, dump);
    const auto writtenBy = [&](int shade) {
        std::ranges::fill(layer.picture.pixels, std::byte(shade));
        dumping.render(frame, Floats{0, 0}, Floats{0, 0}, layer);
        return std::exchange(writer.written, {});
    };
    EXPECT_THAT(writtenBy(11), ElementsAre(std::pair(200, 11)));
    clock.advance(std::chrono::milliseconds(999));
    EXPECT_THAT(writtenBy(12), IsEmpty());
    layer.resize({50, 40});
    clock.advance(std::chrono::milliseconds(1));
    EXPECT_THAT(writtenBy(13), ElementsAre(std::pair(50, 13)));
    EXPECT_FALSE(FrameDump("", clock, writer).isEnabled());
}

} // namespace
} // namespace rewindle::test
