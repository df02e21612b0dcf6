#include "host/drawing/OffscreenRenderer.h"
#include "render/gpu/QuadBuilders.h"
#include "render/gpu/ShaderFunctions.h"
#include "render/gpu/TextureBuilders.h"

#include <cmath>
#include <gtest/gtest.h>

namespace rewindle::test {
namespace {

/// A GPU that is never done before somebody waits for it.
struct SlowFences {
    static GLenum APIENTRY clientWaitSync(GLsync fence, GLbitfield flags, GLuint64 timeout) {
        if (timeout == 0) return GL_TIMEOUT_EXPIRED;
        ++waits;
        return reinterpret_cast<PFNGLCLIENTWAITSYNCPROC>(eglGetProcAddress("glClientWaitSync"))(fence, flags,
                                                                                                timeout);
    }
    static GlProcedure load(const char* name) {
        if (std::string_view(name) != "glClientWaitSync") return eglGetProcAddress(name);
        return reinterpret_cast<GlProcedure>(&clientWaitSync);
    }
    static inline int waits = 0;
};

/// A frame of 200 x 100 points, one column each 2 points, opaque red.
WaveformFrame redFrame() {
    WaveformFrame frame;
    frame.viewport = {200, 100};
    frame.columnCount = 102;
    frame.columnStride = 2;
    frame.midY = 50;
    frame.amplitudeScale = 45;
    frame.flatColor = {1, 0, 0, 1};
    return frame;
}

class OpenGLRenderTest : public testing::TestWithParam<GlApi>, protected OffscreenRenderer {
protected:
    OpenGLRenderTest() : OffscreenRenderer(GetParam()) {}
    void SetUp() override {
        ASSERT_NO_FATAL_FAILURE(makeRenderer());
        setTarget(200, 100);
    }
    Picture draw(const Columns& minima, const Columns& maxima) {
        return OffscreenRenderer::draw(frame, minima, maxima);
    }

    WaveformFrame frame = redFrame();
};

/// Columns that differ from their neighbours, by less than half a pixel per pixel.
struct Sound {
    explicit Sound(std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            const auto t = static_cast<float>(i);
            maxima.push_back(0.5F + 0.4F * std::sin(t * 0.05F));
            minima.push_back(-0.5F + 0.4F * std::cos(t * 0.04F));
        }
    }
    Columns minima, maxima;
};

TEST_P(OpenGLRenderTest, DrawsWindowsOf7680PointsAndMoreColumnsThanATextureIsWide) {
    frame.viewport = {7680, 100};
    frame.columnCount = 3842;
    setTarget(7680, 100);
    const Sound wide(3842);
    const Picture widest = draw(wide.minima, wide.maxima);
    for (const std::size_t i : {1U, 2047U, 2048U, 3838U})
        EXPECT_NEAR(widest.coverage(2 * static_cast<int>(i)), 45.0 * (wide.maxima[i] - wide.minima[i]), 1) << i;

    frame = redFrame();
    frame.columnCount = 600;
    frame.columnStride = 1.0 / 3;
    setTarget(200, 100);
    const Sound narrow(600);
    const Picture expected = draw(narrow.minima, narrow.maxima);
    makeRenderer(eglGetProcAddress, 256);
    setTarget(200, 100);
    EXPECT_EQ(draw(narrow.minima, narrow.maxima).bytes, expected.bytes);
}

TEST_P(OpenGLRenderTest, AtMostThreeFramesAreInFlightAndEachKeepsItsColumns) {
    SlowFences::waits = 0;
    makeRenderer(SlowFences::load);
    constexpr std::size_t kFrames = 12;
    std::vector<std::unique_ptr<GpuTexture>> targets;
    const auto amplitude = [](std::size_t i) { return 0.05F * static_cast<float>(i + 1); };
    for (std::size_t i = 0; i < kFrames; ++i) {
        targets.push_back(makeTarget(200, 100));
        layer.setTarget(framebufferOf(*targets.back()), 200, 100);
        renderer->render(frame, Columns(102, 0.0F), Columns(102, amplitude(i)), layer);
        EXPECT_EQ(SlowFences::waits, i < 3 ? 0 : static_cast<int>(i) - 2);
    }
    for (std::size_t i = 0; i < kFrames; ++i)
        EXPECT_NEAR(pictureOf(*targets[i]).coverage(100), 45.0 * amplitude(i), 1) << i;
}

TEST_P(OpenGLRenderTest, DrawsTheSameWhateverOthersLeftInTheContextAndLeavesNothingBound) {
    const auto gl = loadGlFunctions(eglGetProcAddress);
    ASSERT_TRUE(gl);
    const Sound sound(102);
    frame.overlays = {{{20, 0, 40, 100}, {0, 1, 0, 0.5}}};
    const Picture expected = draw(sound.minima, sound.maxima);

    setTarget(200, 100);
    (void)draw(Columns(102, -1.0F), Columns(102, 1.0F)); // so that nothing is left of the expected picture
    for (const GLenum capability : {GL_SCISSOR_TEST, GL_DEPTH_TEST, GL_STENCIL_TEST, GL_CULL_FACE, GL_BLEND})
        gl->enable(capability);
    gl->blendFuncSeparate(GL_ZERO, GL_ZERO, GL_ZERO, GL_ZERO);
    gl->blendEquationSeparate(GL_FUNC_REVERSE_SUBTRACT, GL_FUNC_REVERSE_SUBTRACT);
    gl->colorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_FALSE);
    gl->viewport(3, 3, 7, 7);
    gl->pixelStorei(GL_UNPACK_ROW_LENGTH, 17);
    gl->pixelStorei(GL_UNPACK_SKIP_PIXELS, 5);
    gl->activeTexture(GL_TEXTURE3);
    EXPECT_EQ(draw(sound.minima, sound.maxima).bytes, expected.bytes);

    for (const GLenum binding : {GL_PIXEL_UNPACK_BUFFER_BINDING, GL_ARRAY_BUFFER_BINDING, GL_VERTEX_ARRAY_BINDING,
                                 GL_CURRENT_PROGRAM, GL_TEXTURE_BINDING_2D, GL_SAMPLER_BINDING}) {
        GLint bound = -1;
        gl->getIntegerv(binding, &bound);
        EXPECT_EQ(bound, 0) << binding;
    }
    EXPECT_EQ(takeGlError(*gl), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_P(OpenGLRenderTest, DumpsFramesUprightAndInTheirColours) {
    FrameDump dump("frame.png", clock, image);
    WaveformMetalRenderer dumping(*core, dump);
    frame.flatColor.alpha = 0.5;
    frame.overlays = {{{0, 0, 200, 10}, {0, 0, 1, 1}}};
    dumping.render(frame, Columns(102, -0.5F), Columns(102, 0.5F), layer);
    dump.releaseTexture();
    EXPECT_EQ(image.kept.width, 200);
    EXPECT_EQ(image.kept.at(100, 5), (Pixel{0, 0, 255, 255}));
    EXPECT_EQ(image.kept.at(100, 50), (Pixel{128, 0, 0, 128}));
    EXPECT_EQ(image.kept.at(100, 95), (Pixel{0, 0, 0, 0}));
}

TEST_P(OpenGLRenderTest, DrawsTexturesUprightAndRampsAndColoursPremultiplied) {
    const auto bytes = [](std::initializer_list<int> values) {
        std::vector<std::byte> made;
        std::ranges::transform(values, std::back_inserter(made), [](int value) { return std::byte(value); });
        return made;
    };
    const auto twoRows = imageTexture({1, 2, bytes({255, 0, 0, 255, 0, 0, 128, 128})}, *device);
    const auto redToBlue = rampTexture({{{0.25, {1, 0, 0, 1}}, {0.75, {0, 0, 1, 0.5}}}}, 256, *device);
    ASSERT_TRUE(twoRows && redToBlue);
    EXPECT_FALSE(imageTexture({.width = 3, .height = 0, .bytes = {}}, *device) || rampTexture({}, 0, *device));
    std::vector<TexVertex> quad;
    appendTexturedQuad(quad, {0, 0, 50, 100}, {200, 100});
    std::vector<RampVertex> ramp, unfilled;
    appendRampQuad(ramp, {50, 0, 100, 100}, 50, 100, {200, 100}); // half full
    appendRampQuad(unfilled, {150, 0, 25, 100}, 50, 0, {200, 100});
    std::vector<ColoredVertex> colored;
    appendColoredQuad(colored, {175, 0, 25, 100}, premultiplied({1, 0.5, 0, 0.5}), {200, 100});

    GpuCommandBuffer* const commands = core->commandQueue().makeCommandBuffer();
    GpuRenderEncoder* const encoder = commands->makeRenderEncoder({.target = target.get()});
    core->drawTextured(quad, *twoRows, *encoder, ShaderFunctions::texVertex, ShaderFunctions::texFragment);
    core->drawTextured(ramp, *redToBlue, *encoder, ShaderFunctions::rampVertex, ShaderFunctions::rampFragment);
    core->drawTextured(unfilled, *redToBlue, *encoder, ShaderFunctions::rampVertex, ShaderFunctions::rampFragment);
    core->drawColored(colored, *encoder);
    core->drawColored({}, *encoder);
    encoder->endEncoding();
    commands->commit();
    const Picture picture = pictureOf(*target);
    const std::pair<std::array<int, 2>, Pixel> expected[] = {
        {{25, 5}, {255, 0, 0, 255}},   {{25, 95}, {0, 0, 128, 128}},  {{60, 50}, {255, 0, 0, 255}},
        {{149, 50}, {73, 0, 73, 191}}, {{170, 50}, {255, 0, 0, 255}}, {{190, 50}, {128, 64, 0, 128}}};
    for (const auto& [place, pixel] : expected)
        for (std::size_t part = 0; part < 4; ++part)
            EXPECT_NEAR(picture.at(place[0], place[1])[part], pixel.at(part), 2) << place[0] << ", part " << part;
}

TEST_P(OpenGLRenderTest, NamesTheDriverAndRefusesAContextWithoutItsFunctions) {
    EXPECT_FALSE(device->rendererName().empty());
    EXPECT_FALSE(OpenGLDevice::make([](const char*) -> GlProcedure { return nullptr; }));
}

INSTANTIATE_TEST_SUITE_P(, OpenGLRenderTest, testing::Values(GlApi::core33, GlApi::es30),
                         [](const auto& api) { return api.param == GlApi::core33 ? "OpenGL33" : "OpenGLES30"; });

} // namespace
} // namespace rewindle::test
