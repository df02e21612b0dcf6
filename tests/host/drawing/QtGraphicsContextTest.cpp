#include "host/drawing/QtGraphicsContext.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <random>

namespace rewindle::test {
namespace {

constexpr Color kRed{1, 0, 0}, kGreen{0, 1, 0};

QImage blackImage(QSize size) {
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::black);
    return image;
}

/// The share of a pixel that lies between the strip's edges, found by trying many points of it.
double coveredShare(const EnvelopeStrip& strip, double scale, int x, int y) {
    constexpr int kPoints = 16;
    const auto value = [&](std::span<const float> values, double at) {
        const auto column = std::min(static_cast<std::size_t>(at), values.size() - 1);
        const auto next = std::min(column + 1, values.size() - 1);
        const double share = at - static_cast<double>(column);
        return static_cast<double>(values[column]) * (1 - share) + static_cast<double>(values[next]) * share;
    };
    const double width = static_cast<double>(std::max<std::size_t>(strip.maxima.size(), 2) - 1);
    int inside = 0;
    for (int i = 0; i < kPoints * kPoints; ++i) {
        const int across = i % kPoints, down = i / kPoints;
        const double column = ((x + (across + 0.5) / kPoints) / scale - strip.firstX) / strip.columnStride;
        const double amplitude = (strip.midY - (y + (down + 0.5) / kPoints) / scale) / strip.amplitudeScale;
        if (column < 0 || column >= width) continue;
        if (amplitude <= value(strip.maxima, column) && amplitude >= value(strip.minima, column)) ++inside;
    }
    return static_cast<double>(inside) / (kPoints * kPoints);
}

TEST(QtGraphicsContextTest, AnEnvelopeCoversJustThePixelsBetweenItsEdgesAtEveryScale) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> level(-1.1F, 1.1F); // beyond the picture, too
    for (const double scale : {1.0, 1.25, 1.5, 2.0}) {
        for (const std::size_t count : {1U, 2U, 3U, 14U}) {
            SCOPED_TRACE(testing::Message() << count << " columns at scale " << scale);
            std::vector<float> minima(count), maxima(count);
            for (std::size_t i = 0; i < count; ++i) {
                maxima[i] = level(random);
                minima[i] = i % 3 == 0 ? maxima[i] : std::min(level(random), maxima[i]);
            }
            const EnvelopeStrip strip{minima, maxima, 3.3, 2, 20, 19.5, {0, 40, kRed, kRed}};
            QImage image = blackImage(QSize(40, 40) * scale);
            QtGraphicsContext context;
            context.begin(image, {40, 40});
            context.fillEnvelope(strip);
            double worst = 0;
            for (int y = 0; y < image.height(); ++y)
                for (int x = 0; x < image.width(); ++x)
                    worst =
                        std::max(worst, std::abs(qRed(image.pixel(x, y)) / 255.0 - coveredShare(strip, scale, x, y)));
            EXPECT_LT(worst, 0.08); // of the many points, the outermost may fall to either side
        }
    }
}

TEST(QtGraphicsContextTest, TheGradientStandsStillWhileTheOriginMovesAndTheClipHolds) {
    const std::vector<float> minima(12, -1), maxima(12, 1);
    QImage image = blackImage({20, 20});
    QtGraphicsContext context;
    context.begin(image, {10, 10}); // two pixels per point
    context.saveState();
    context.translate(-1, 0);
    context.clip({1, 2, 4.5, 10});
    context.fillEnvelope({minima, maxima, 0, 1, 5, 5, {0, 10, kRed, kGreen}});
    context.restoreState();
    for (int y = 0; y < 20; ++y) {
        const QRgb pixel = image.pixel(4, y);
        EXPECT_NEAR(qGreen(pixel), y < 4 ? 0 : (y + 0.5) / 20 * 255, 1) << y;
        EXPECT_NEAR(qRed(pixel), y < 4 ? 0 : 255 - (y + 0.5) / 20 * 255, 1) << y;
        EXPECT_EQ(image.pixel(9, y), qRgb(0, 0, 0)) << y;
    }
    context.fillRect({9, 9, 5, 5}, kRed); // the state is that of before
    EXPECT_EQ(image.pixel(19, 19), qRgb(255, 0, 0));
}

TEST(QtGraphicsContextTest, ALineAroundARectangleLiesOnItsEdgeAndNothingBeyondThePicture) {
    QImage image = blackImage({20, 20});
    QtGraphicsContext context;
    context.begin(image, {20, 20});
    context.strokeRect({5.5, 5.5, 9, 9}, 1, kGreen.withAlpha(0.5));
    for (const auto& [x, y, green] : {std::tuple{5, 5, 128},
                                      {14, 5, 128},
                                      {10, 5, 128},
                                      {5, 14, 128},
                                      {6, 6, 0},
                                      {13, 13, 0},
                                      {15, 10, 0},
                                      {4, 10, 0}})
        EXPECT_NEAR(qGreen(image.pixel(x, y)), green, 1) << x << ", " << y;
    context.fillRect({-5, -5, 100, 100}, kRed); // no more than there is
    EXPECT_EQ(image.pixel(0, 0), qRgb(255, 0, 0));
}

} // namespace
} // namespace rewindle::test
