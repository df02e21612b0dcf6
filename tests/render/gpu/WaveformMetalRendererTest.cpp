#include "render/gpu/WaveformMetalRenderer.h"

#include "fakes/AllocationCounter.h"
#include "fakes/CapturingLogSink.h"
#include "fakes/FakeGpuDevice.h"
#include "fakes/ManualClock.h"

#include <gmock/gmock.h>

#include <limits>

namespace rewindle::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
constexpr float kGap = std::numeric_limits<float>::quiet_NaN();

/// The pictures that were written, as "path WxH first-byte".
struct FakeImageWriter final : ImageWriter {
    bool writePng(const std::filesystem::path& path, const ImagePixels& image) override {
        written.push_back(path.string() + " " + std::to_string(image.width) + "x" + std::to_string(image.height) +
                          " " + std::to_string(std::to_integer<int>(image.bytes.at(0))));
        return true;
    }
    std::vector<std::string> written;
};

WaveformFrame twoOverlays() {
    WaveformFrame frame;
    frame.viewport = {100, 50};
    frame.columnCount = 8;
    frame.columnStride = 2;
    frame.overlays = {{{0, 0, 2, 50}, {1, 0, 0, 1}}, {{10, 0, 20, 50}, {0, 1, 0, 0.5}}};
    return frame;
}

class WaveformMetalRendererTest : public testing::Test {
protected:
    void render(const std::vector<float>& minima, const std::vector<float>& maxima) {
        renderer.render(frame, minima, maxima, layer);
    }
    void render(const std::vector<float>& columns) { render(columns, columns); }
    /// What was encoded for one frame of these columns, complete at its end.
    std::vector<std::string> encoded(const std::vector<float>& columns, const std::string& start = "") {
        render(columns);
        device.completeOldest();
        return device.record.takeStartingWith(start);
    }
    /// What of it is seen: draws, and what becomes of the frame.
    std::vector<std::string> shown(const std::vector<float>& columns) {
        auto lines = encoded(columns);
        std::erase_if(lines, [](const std::string& line) {
            return !line.starts_with("draw") && line != "end" && line != "present" && line != "commit";
        });
        return lines;
    }

    CapturingLogSink log;
    FakeGpuDevice device;
    ManualClock clock;
    FakeImageWriter writer;
    FrameDump noDump{nullptr, clock, writer};
    std::unique_ptr<MetalRenderCore> core = MetalRenderCore::make(&device, Log(log, "Render"));
    FakeGpuLayer layer{{200, 100}};
    WaveformFrame frame = twoOverlays();
    WaveformMetalRenderer renderer{*core, noDump};
};

TEST_F(WaveformMetalRendererTest, EncodesTheEnvelopeThenTheOverlaysInOneResolvedPass) {
    render({-0.1F, -0.2F, -0.3F}, {0.1F, 0.2F, 0.3F});
    EXPECT_THAT(
        device.record.take(),
        ElementsAre("make texture 200x100 x4", "pass 200x100 x4", "make pipeline wave_vertex wave_fragment x4 over",
                    "make buffer 24", "pipeline wave_vertex wave_fragment x4 over", "vertex buffer 0: 12 bytes at 0",
                    "vertex buffer 1: 12 bytes at 12", "vertex bytes 2: 96", "fragment bytes 0: 96",
                    "draw strip 6 from 0", "make pipeline colored_vertex colored_fragment x4 over", "make buffer 384",
                    "pipeline colored_vertex colored_fragment x4 over", "vertex buffer 0: 384 bytes at 0",
                    "draw triangles 12 from 0", "end", "present", "commit"));
}

TEST_F(WaveformMetalRendererTest, DrawsOneStripPerRunAndNoLoneColumn) {
    EXPECT_THAT(encoded({0, kGap, 0, 0}, "draw strip"), ElementsAre("draw strip 4 from 4"));
    EXPECT_THAT(encoded({0, 0, kGap, 0, kGap, 0, 0, 0}, "draw strip"),
                ElementsAre("draw strip 4 from 0", "draw strip 6 from 10"));
    frame.columnCount = 3;
    EXPECT_THAT(encoded({0, 0, 0, 0, 0}, "draw strip"), ElementsAre("draw strip 6 from 0"));
    frame.columnCount = 100;
    render({0, 0, 0, 0}, {0, 0});
    EXPECT_THAT(device.record.takeStartingWith("draw strip"), ElementsAre("draw strip 4 from 0"));
}

TEST_F(WaveformMetalRendererTest, DropsWhatItHasNoMeansFor) {
    struct Case {
        std::string missing;
        std::vector<std::string> drawn; // presented and committed, too, unless empty
    };
    for (const auto& [missing, drawn] : std::vector<Case>{{"texture", {}},
                                                          {"commands", {}},
                                                          {"pipeline", {"end", "present", "commit"}},
                                                          {"buffer", {"end", "present", "commit"}},
                                                          {"encoder", {"commit"}}}) {
        SCOPED_TRACE(missing);
        device.failing = {missing};
        EXPECT_EQ(shown({0, 0}), drawn);
    }
    device.failing = {};
    EXPECT_THAT(shown({0, 0}),
                ElementsAre("draw strip 4 from 0", "draw triangles 12 from 0", "end", "present", "commit"));
    for (const auto& none : {std::vector<float>{}, {kGap, kGap}})
        EXPECT_THAT(shown(none), ElementsAre("draw triangles 12 from 0", "end", "present", "commit"));
    layer.available = false;
    EXPECT_THAT(encoded({0, 0}), IsEmpty());
    layer.available = true;
    for (const Size viewport : {Size{0, 50}, Size{100, -1}}) {
        frame.viewport = viewport;
        EXPECT_THAT(encoded({0, 0}), IsEmpty());
    }
    frame.viewport = {100, 50};
    frame.columnCount = 0;
    EXPECT_THAT(encoded({0, 0}), IsEmpty());
}

TEST_F(WaveformMetalRendererTest, KeepsTheMultisampleTextureUntilTheSizeChanges) {
    EXPECT_THAT(encoded({0, 0}, "make texture"), ElementsAre("make texture 200x100 x4"));
    EXPECT_THAT(encoded({0, 0}, "make texture"), IsEmpty());
    layer.resize({201, 100});
    EXPECT_THAT(encoded({0, 0}, "make texture"), ElementsAre("make texture 201x100 x4"));
    layer.resize({0, 100});
    EXPECT_THAT(encoded({0, 0}), IsEmpty());
}

TEST_F(WaveformMetalRendererTest, TheFourthFrameInFlightWaitsForTheFirst) {
    for (int i = 0; i < 3; ++i)
        render({0, 0});
    EXPECT_THAT(device.record.takeStartingWith("wait"), IsEmpty());
    render({0, 0});
    EXPECT_THAT(device.record.takeStartingWith("wait"), ElementsAre("wait"));
    EXPECT_EQ(device.completed, 1U);
    device.completeOldest();
    render({0, 0});
    EXPECT_THAT(device.record.takeStartingWith("wait"), IsEmpty());
}

TEST_F(WaveformMetalRendererTest, AllocatesNothingForAFrameLikeTheOnesBefore) {
    device.record.recording = false;
    const std::vector<float> columns(800, 0.5F);
    frame.columnCount = 800;
    const auto drawOne = [&] {
        render(columns);
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
    const std::vector<float> columns{0, 0};
    const auto writtenBy = [&](int shade) {
        std::ranges::fill(layer.picture.pixels, std::byte(shade));
        dumping.render(frame, columns, columns, layer);
        return std::exchange(writer.written, {});
    };
    EXPECT_THAT(writtenBy(11), ElementsAre("/tmp/frame.png 200x100 11"));
    clock.advance(std::chrono::milliseconds(999));
    EXPECT_THAT(writtenBy(12), IsEmpty());
    layer.resize({50, 40});
    clock.advance(std::chrono::milliseconds(1));
    EXPECT_THAT(writtenBy(13), ElementsAre("/tmp/frame.png 50x40 13"));
    EXPECT_FALSE(FrameDump("", clock, writer).isEnabled());
}

} // namespace
} // namespace rewindle::test
