#include "fakes/FakeGpuDevice.h"
#include "render/gpu/ContiguousRuns.h"
#include "render/gpu/QuadBuilders.h"
#include "render/gpu/RendererChoice.h"
#include "render/gpu/TextureBuilders.h"
#include "render/gpu/WaveUniforms.h"

#include <gmock/gmock.h>

#include <array>
#include <cstring>
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

TEST(QuadBuilders, CoverTheRectangleWithTwoTrianglesFromTheTopLeft) {
    std::vector<TexVertex> textured;
    appendTexturedQuad(textured, {10, 20, 30, 40}, {100, 200});
    std::vector<Floats> vertices;
    vertices.reserve(textured.size());
    for (const auto& v : textured)
        vertices.push_back({v.position[0], v.position[1], v.uv[0], v.uv[1]});
    const Floats topLeft{-0.8F, 0.8F, 0, 0}, topRight{-0.2F, 0.8F, 1, 0}, bottomLeft{-0.8F, 0.4F, 0, 1},
        bottomRight{-0.2F, 0.4F, 1, 1};
    EXPECT_THAT(vertices, ElementsAre(topLeft, topRight, bottomLeft, topRight, bottomRight, bottomLeft));

    std::vector<ColoredVertex> colored(1);
    appendColoredQuad(colored, {10, 20, 30, 40}, premultiplied({1, 0.5, 0, 0.5}), {100, 200});
    ASSERT_EQ(colored.size(), 7U);
    for (std::size_t i = 0; i < 6; ++i)
        EXPECT_EQ(colored[i + 1].position, textured[i].position);
    EXPECT_THAT(colored.back().color, ElementsAre(0.5F, 0.25F, 0.0F, 0.5F));
}

TEST(QuadBuilders, RampEndsWhereTheFillDoesAndHasNoLengthInABarWithoutWidth) {
    const auto rightEnd = [](double fullWidth) {
        std::vector<RampVertex> vertices;
        appendRampQuad(vertices, {0, 0, 30, 4}, 30, fullWidth, {100, 4});
        EXPECT_EQ(vertices[0].t, 0.0F);
        EXPECT_EQ(vertices[1].t, vertices[4].t);
        return vertices[1].t;
    };
    EXPECT_EQ(rightEnd(120), 0.25F);
    EXPECT_EQ(rightEnd(0), 0.0F);
}

TEST(QuadBuilders, PositionsStayFiniteInAViewportWithoutSize) {
    const auto position = pointsToNDC({3, 3}, {0, 0});
    EXPECT_THAT(position, ElementsAre(5.0F, -5.0F));
}

TEST(WaveUniforms, LieWhereTheShadersReadThem) {
    const WaveUniforms uniforms = waveUniforms({.viewport = {1, 2},
                                                .columnCount = 7,
                                                .columnStride = 3,
                                                .fractionPoints = 4,
                                                .midY = 5,
                                                .amplitudeScale = 6,
                                                .useGradient = true,
                                                .gradStart = {8, 9},
                                                .gradEnd = {10, 11},
                                                .gradColor0 = {1, 0, 0, 0.5},
                                                .gradColor1 = {0, 1, 0, 1},
                                                .flatColor = {0, 0, 1, 0.25},
                                                .overlays = {}});
    std::array<float, 24> floats{};
    std::memcpy(floats.data(), &uniforms, sizeof uniforms);
    std::array<std::uint32_t, 24> words{};
    std::memcpy(words.data(), &uniforms, sizeof uniforms);
    EXPECT_EQ(words[6], 7U);
    EXPECT_EQ(words[7], 1U);
    floats[6] = floats[7] = 0;
    EXPECT_THAT(floats,
                ElementsAre(1, 2, 3, 4, 5, 6, 0, 0, 8, 9, 10, 11, 0.5F, 0, 0, 0.5F, 0, 1, 0, 1, 0, 0, 0.25F, 0.25F));
}

TEST(TextureBuilders, RampRunsFromColorToColorPremultiplied) {
    const ColorGradient gradient{{{0.25, {1, 0, 0, 1}}, {0.75, {0, 0, 1, 0.5}}}};
    const auto pixels = rampPixels(gradient, 4); // centres at 1/8, 3/8, 5/8, 7/8
    Floats values;
    for (const std::byte value : pixels.bytes)
        values.push_back(static_cast<float>(value));
    EXPECT_THAT(values, ElementsAre(255, 0, 0, 255, /**/ 167, 0, 56, 223, /**/ 40, 0, 120, 159, /**/ 0, 0, 128, 128));
}

TEST(TextureBuilders, UploadPicturesAndRefuseEmptyOnes) {
    FakeGpuDevice device;
    const ImagePixels image{.width = 1, .height = 2, .bytes = std::vector<std::byte>(8, std::byte{9})};
    const auto texture = imageTexture(image, device);
    ASSERT_TRUE(texture);
    EXPECT_EQ(dynamic_cast<FakeGpuTexture&>(*texture).pixels, image.bytes);
    EXPECT_EQ(rampTexture({}, 256, device)->width(), 256);
    EXPECT_FALSE(imageTexture({.width = 3, .height = 0, .bytes = {}}, device));
    EXPECT_FALSE(rampTexture({}, 0, device));
    device.failing = {"texture"};
    EXPECT_FALSE(imageTexture(image, device));
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
