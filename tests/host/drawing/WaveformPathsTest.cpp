// The waveform drawn on the GPU and the waveform drawn in two dimensions: the same picture.

#include "host/drawing/OffscreenRenderer.h"
#include "host/drawing/PictureDifference.h"
#include "host/drawing/QtGraphicsContext.h"
#include "waveform/WaveformColumns.h"
#include "waveform/WaveformPainter.h"

#include <QPainter>

#include <cmath>
#include <gtest/gtest.h>
#include <random>

namespace rewindle::test {
namespace {

constexpr Size kSize{1'000, 119};
constexpr std::size_t kCount = 502; // columns
constexpr double kVisibleFrames = 500'000;
constexpr float kGap = std::numeric_limits<float>::quiet_NaN();
constexpr Color kGround{0.12, 0.12, 0.18};
// The GPU looks at four points of a pixel. What covers less than this, or passes an edge by less, may fall between them.
constexpr double kBetweenSamples = 0.375;

struct Sound {
    Columns minima = Columns(kCount, 0.0F), maxima = Columns(kCount, 0.0F);

    Sound with(std::size_t from, std::size_t end, float minimum, float maximum) && {
        for (std::size_t i = from; i < end; ++i) {
            minima[i] = minimum;
            maxima[i] = maximum;
        }
        return std::move(*this);
    }
};

/// No column like the next, loud and quiet in turn.
Sound music(float loudest = 0.99F) {
    Sound sound;
    std::mt19937 random(5);
    std::uniform_real_distribution<float> share(0.6F, 1.0F);
    for (std::size_t i = 0; i < kCount; ++i) {
        const auto swell = std::sin(static_cast<float>(i) * 0.05F);
        const float level = 0.004F + loudest * swell * swell;
        sound.maxima[i] = level * share(random);
        sound.minima[i] = -level * share(random);
    }
    return sound;
}

struct Scene {
    const char* name;
    Sound sound;
    double viewStart = 0; // frames, of which a column has 1000
    bool isMarked = false;
    bool isFrozen = false;
};

std::vector<Scene> scenes() {
    return {{"music", music()},
            {"a part of a column farther", music(), 2'740},
            {"silence", Sound(), 500},
            {"blocks", Sound().with(20, 60, -0.5F, 0.5F).with(80, 300, -1, 1).with(400, 420, 0.1F, 0.25F), 1'300},
            {"gaps", music().with(0, 20, kGap, kGap).with(90, 91, kGap, kGap).with(400, kCount, kGap, kGap), 1'999},
            {"louder than full scale", music(1.5F), 20},
            {"marked", music(), 100, true},
            {"marked and frozen", music(), 750, true, true}};
}

using Part = std::pair<int, int>; // of a column of pixels: rows [first, second)

double alphaAt(const QImage& picture, int x, int y) {
    return qAlpha(picture.pixel(x, y)) / 255.0;
}

/// How much of these pixels is covered.
double covered(const QImage& picture, int x, Part rows) {
    double sum = 0;
    for (int y = rows.first; y < rows.second; ++y)
        sum += alphaAt(picture, x, y);
    return sum;
}

/// Of the one of its pixels that is covered most.
double mostCovered(const QImage& picture, int x) {
    double most = 0;
    for (int y = 0; y < picture.height(); ++y)
        most = std::max(most, alphaAt(picture, x, y));
    return most;
}

int distance(QRgb a, QRgb b) {
    return std::max({std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)), std::abs(qBlue(a) - qBlue(b))});
}

QRgb rgbOf(const Color& color) {
    return QColor::fromRgbF(static_cast<float>(color.red), static_cast<float>(color.green),
                            static_cast<float>(color.blue))
        .rgb();
}

/// One scene, drawn by either path at one scale.
struct Both {
    QImage gpu, flat;                 // on nothing, without the marks
    QImage gpuOnGround, flatOnGround; // without the edge of the selection
};

class WaveformPathsTest : public testing::TestWithParam<GlApi>, protected OffscreenRenderer {
protected:
    WaveformPathsTest() : OffscreenRenderer(GetParam()) {}
    void SetUp() override { ASSERT_NO_FATAL_FAILURE(makeRenderer()); }

    Both drawBoth(const Scene& scene, double scale) {
        const auto pixels = [&](double points) { return static_cast<int>(std::lround(points * scale)); };
        QImage nothing(pixels(kSize.width), pixels(kSize.height), QImage::Format_ARGB32_Premultiplied);
        nothing.fill(Qt::transparent);
        QImage ground = nothing;
        ground.fill(rgbOf(kGround));
        setTarget(nothing.width(), nothing.height());

        fillFrame(scene);
        Both both;
        both.gpu = drawnByGpu(scene, nothing);
        both.flat = painted(scene, nothing);
        mark(scene);
        both.gpuOnGround = drawnByGpu(scene, ground);
        both.flatOnGround = painted(scene, ground);
        for (QImage* const picture : {&both.gpuOnGround, &both.flatOnGround}) {
            const Rect edge = overlays.selection.value_or(Rect{});
            if (edge.width > 0) hideEdge(*picture, {edge.x, edge.y, edge.width, edge.height}, scale);
        }
        return both;
    }
    void fillFrame(const Scene& scene) {
        const auto columns = waveformColumns(kSize, scene.viewStart, kVisibleFrames);
        box = envelopeBounds(columns, scene.sound.minima, scene.sound.maxima, kSize);
        frame = {.viewport = kSize,
                 .columnCount = columns.columnCount,
                 .columnStride = kColumnStride,
                 .fractionPoints = columns.fraction,
                 .midY = columns.midY,
                 .amplitudeScale = columns.amplitudeScale,
                 .useGradient = true,
                 .gradStart = {box.x + box.width / 2, box.y + box.height},
                 .gradEnd = {box.x + box.width / 2, box.y},
                 .gradColor0 = theme.waveformBottom,
                 .gradColor1 = theme.waveformTop,
                 .flatColor = theme.waveformTop,
                 .overlays = {}};
        overlays = {};
    }
    void mark(const Scene& scene) {
        if (!scene.isMarked) return;
        WaveformMarks marks;
        marks.select(100'000, 250'333);
        marks.insertMarkerFrame = 300'700;
        overlays = waveformOverlays({scene.viewStart, kVisibleFrames, kSize}, 460'100, marks, {});
        overlayQuads(overlays, theme, scene.isFrozen, frame.overlays);
    }
    QImage drawnByGpu(const Scene& scene, QImage ground) {
        const Picture drawn = draw(frame, scene.sound.minima, scene.sound.maxima);
        const QImage picture(reinterpret_cast<const uchar*>(drawn.bytes.data()), drawn.width, drawn.height,
                             QImage::Format_RGBA8888_Premultiplied);
        QPainter(&ground).drawImage(0, 0, picture);
        return ground;
    }
    QImage painted(const Scene& scene, QImage ground) {
        canvas.begin(ground, kSize);
        painter.paint(canvas, frame, scene.sound.minima, scene.sound.maxima, overlays, theme, scene.isFrozen);
        return ground;
    }

    const WaveformTheme theme = WaveformTheme::of(NightfallFlavor::eclipse, NightfallWaveformAccent::mauve);
    Rect box; // around the envelope
    WaveformFrame frame;
    WaveformOverlays overlays;
    WaveformPainter painter;
    QtGraphicsContext canvas;
};

/// The same columns of pixels are filled, and as far up and down from the middle.
void expectSameColumns(const Both& both) {
    const Part above{0, both.gpu.height() / 2};
    const Part below{above.second, both.gpu.height()};
    double shift = 0;
    int filled = 0;
    for (int x = 0; x < both.gpu.width(); ++x) {
        const double gpu = mostCovered(both.gpu, x), flat = mostCovered(both.flat, x);
        EXPECT_TRUE(gpu > 0 || flat < kBetweenSamples) << "not on the GPU at " << x;
        EXPECT_TRUE(flat > 0 || gpu == 0) << "on the GPU only at " << x;
        if (gpu < 1 || flat < 1) continue; // the end of a run within a pixel, or less than a pixel high
        const double higher = covered(both.gpu, x, above) - covered(both.flat, x, above);
        const double lower = covered(both.gpu, x, below) - covered(both.flat, x, below);
        EXPECT_LT(std::abs(higher), 1) << x;
        EXPECT_LT(std::abs(lower), 1) << x;
        shift += lower - higher;
        ++filled;
    }
    EXPECT_LT(std::abs(shift), 0.1 * std::max(filled, 1)) << "one of the paths draws it farther down";
}

TEST_P(WaveformPathsTest, BothDrawTheSameAtEveryScale) {
    for (const Scene& scene : scenes()) {
        for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
            SCOPED_TRACE(testing::Message() << scene.name << " at scale " << scale);
            const Both both = drawBoth(scene, scale);
            expectSameColumns(both);
            const QRectF pixels(box.x * scale, box.y * scale, box.width * scale, box.height * scale);
            EXPECT_LT(meanDifference(both.gpuOnGround, both.flatOnGround, pixels.toAlignedRect()), 2);
        }
    }
}

TEST_P(WaveformPathsTest, MarksLieOnTheSamePixels) {
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        SCOPED_TRACE(scale);
        const Both both = drawBoth({"marks alone", Sound(), 320, true, scale > 1.25}, scale);
        int worst = 0;
        for (int y = 0; y < both.gpuOnGround.height(); ++y)
            for (int x = 0; x < both.gpuOnGround.width(); ++x)
                worst = std::max(worst, distance(both.gpuOnGround.pixel(x, y), both.flatOnGround.pixel(x, y)));
        EXPECT_LE(worst, 40); // of 255, where a pixel is covered by a part that the GPU rounds to a quarter
    }
}

TEST_P(WaveformPathsTest, TheEdgeOfASelectionLiesHalfAPointFartherInsideOnTheGpu) {
    const Scene scene{"edge", Sound(), 0, true};
    const QImage nothing = drawBoth(scene, 2).gpu;
    const QImage gpu = drawnByGpu(scene, nothing), flat = painted(scene, nothing);
    const int left = 2 * static_cast<int>(overlays.selection.value().x);
    for (int x = -1; x < 4; ++x) {
        EXPECT_EQ(alphaAt(flat, left + x, 100) > 0.5, x == 0 || x == 1) << x;
        EXPECT_EQ(alphaAt(gpu, left + x, 100) > 0.5, x == 1 || x == 2) << x;
    }
}

INSTANTIATE_TEST_SUITE_P(, WaveformPathsTest, testing::Values(GlApi::core33, GlApi::es30),
                         [](const auto& api) { return api.param == GlApi::core33 ? "OpenGL33" : "OpenGLES30"; });

} // namespace
} // namespace rewindle::test
